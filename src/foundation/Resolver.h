#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/RunLoop.h"
#include "foundation/SocketAddress.h"

struct ares_channeldata;
struct ares_addrinfo;

namespace qv {

// Where names are looked up: the system's resolver configuration, unless a
// test points elsewhere.
struct ResolverSettings {
    // The name servers and search rules. /etc/hosts, which is read at each
    // lookup, comes before them.
    std::string configuration = "/etc/resolv.conf";
    // The servers' port, 0 for their own (53): a test serves names elsewhere.
    std::uint16_t port = 0;
};

// Host name lookup through c-ares, driven by the run loop, so a slow name
// server never blocks the one thread. It follows the system's changes: a
// lookup uses the configuration as it is when the lookup starts (a laptop
// that moved to another network has other name servers), since the resolver
// is made anew whenever one of its configuration files has changed.
class Resolver {
public:
    // Every address of the name in the resolver's order; none when the name
    // could not be resolved.
    using Done = std::function<void(std::vector<SocketAddress> addresses)>;

    // Its registrations carry `source` (the socket that looks names up).
    Resolver(RunLoop& loop, RunLoop::SourceId source, ResolverSettings settings = {});
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;
    ~Resolver();

    // Starts looking `host` up. `done` runs later from the loop, never inside
    // this call. A new lookup or Cancel drops the result of the one before.
    void Lookup(const std::string& host, Done done);
    void Cancel();

private:
    struct Request;
    struct Result {
        std::uint64_t generation;
        std::vector<SocketAddress> addresses;
    };
    // What tells a file's version apart (device, inode, size, change time);
    // a missing file has its own.
    using Stamp = std::tuple<dev_t, ino_t, off_t, time_t, long>;

    static void OnSocketState(void* data, int fd, int readable, int writable);
    static void OnResult(void* arg, int status, int timeouts, ares_addrinfo* result);
    std::vector<Stamp> ConfigurationStamps() const;
    // Makes the c-ares channel anew when the configuration changed since.
    void Refresh();
    void Process(int readFd, int writeFd);
    void RescheduleTimeout();
    void DeliverResult();

    RunLoop& loop_;
    const RunLoop::SourceId source_;
    const ResolverSettings settings_;
    ares_channeldata* channel_ = nullptr;
    std::vector<Stamp> stamps_;
    std::map<int, RunLoop::Watch> watches_;
    RunLoop::Pending timeout_;
    RunLoop::Pending delivery_;
    std::uint64_t generation_ = 0;
    Done done_;
    std::optional<Result> result_;
};

}  // namespace qv
