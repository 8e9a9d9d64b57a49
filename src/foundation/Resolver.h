#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "foundation/RunLoop.h"

struct ares_channeldata;
struct ares_addrinfo;

namespace qv {

// Host name lookup through c-ares, driven by the run loop, so a slow name
// server never blocks the one thread.
class Resolver {
public:
    // `address` is null when the name could not be resolved.
    using Done = std::function<void(const sockaddr* address, socklen_t length)>;

    explicit Resolver(RunLoop& loop);
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;
    ~Resolver();

    // Starts looking `host` up. `done` runs later from the loop, never inside
    // this call. A new lookup or Cancel drops the result of the one before.
    // An IPv4 address is preferred when the name has both kinds.
    void Lookup(const std::string& host, Done done);
    void Cancel();
    // Drives the lookup without waiting, outside the loop: a blocking caller
    // that polls its socket must see the name resolved too. A result that is
    // in is delivered before this returns.
    void Poll();

private:
    struct Request;
    static void OnSocketState(void* data, int fd, int readable, int writable);
    struct Result {
        std::uint64_t generation;
        sockaddr_storage address;
        socklen_t length;
    };
    static void OnResult(void* arg, int status, int timeouts, ares_addrinfo* result);
    void Process(int readFd, int writeFd);
    void RescheduleTimeout();
    void DeliverResult();

    RunLoop& loop_;
    ares_channeldata* channel_ = nullptr;
    std::map<int, RunLoop::Watch> watches_;
    RunLoop::Pending timeout_;
    RunLoop::Pending delivery_;
    std::uint64_t generation_ = 0;
    Done done_;
    std::optional<Result> result_;
};

}  // namespace qv
