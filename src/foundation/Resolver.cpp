#include "foundation/Resolver.h"

#include <ares.h>
#include <poll.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

namespace qv {

// c-ares calls back only while the resolver lives: from the loop, or from
// ares_destroy in its destructor (ARES_EDESTRUCTION).
struct Resolver::Request {
    Resolver* resolver;
    std::uint64_t generation;
};

namespace {

void InitializeLibraryOnce() {
    static std::once_flag once;
    std::call_once(once, [] { ares_library_init(ARES_LIB_INIT_ALL); });
}

// The address to use out of a lookup result: the first IPv4 one, else the first.
const ares_addrinfo_node* Preferred(const ares_addrinfo* result) {
    if (!result) return nullptr;
    for (const ares_addrinfo_node* node = result->nodes; node; node = node->ai_next) {
        if (node->ai_family == AF_INET) return node;
    }
    return result->nodes;
}

}  // namespace

Resolver::Resolver(RunLoop& loop) : loop_(loop) {
    InitializeLibraryOnce();
    ares_options options{};
    options.sock_state_cb = OnSocketState;
    options.sock_state_cb_data = this;
    if (ares_init_options(&channel_, &options, ARES_OPT_SOCK_STATE_CB) != ARES_SUCCESS) channel_ = nullptr;
}

Resolver::~Resolver() {
    if (channel_) ares_destroy(channel_);
}

void Resolver::Lookup(const std::string& host, Done done) {
    Cancel();
    done_ = std::move(done);
    if (!channel_) {
        result_ = Result{generation_, {}, 0};
        delivery_ = loop_.Post([this] { DeliverResult(); });
        return;
    }
    ares_addrinfo_hints hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    ares_getaddrinfo(channel_, host.c_str(), nullptr, &hints, OnResult, new Request{this, generation_});
    RescheduleTimeout();
}

void Resolver::Cancel() {
    ++generation_;
    done_ = nullptr;
    result_.reset();
}

void Resolver::Poll() {
    std::vector<pollfd> fds;
    for (const auto& [fd, watch] : watches_) fds.push_back(pollfd{fd, POLLIN | POLLOUT, 0});
    if (!fds.empty() && poll(fds.data(), fds.size(), 0) > 0) {
        for (const pollfd& fd : fds) {
            if (fd.revents == 0) continue;
            const bool readable = fd.revents & (POLLIN | POLLERR | POLLHUP);
            const bool writable = fd.revents & POLLOUT;
            ares_process_fd(channel_, readable ? fd.fd : ARES_SOCKET_BAD, writable ? fd.fd : ARES_SOCKET_BAD);
        }
    }
    if (channel_) Process(ARES_SOCKET_BAD, ARES_SOCKET_BAD);  // time-outs due by now
    DeliverResult();
}

void Resolver::OnResult(void* arg, int status, int /*timeouts*/, ares_addrinfo* result) {
    std::unique_ptr<Request> request(static_cast<Request*>(arg));
    Result found{request->generation, {}, 0};
    if (const ares_addrinfo_node* node = status == ARES_SUCCESS ? Preferred(result) : nullptr) {
        found.length = static_cast<socklen_t>(std::min<std::size_t>(node->ai_addrlen, sizeof found.address));
        std::memcpy(&found.address, node->ai_addr, found.length);
    }
    if (result) ares_freeaddrinfo(result);
    Resolver& self = *request->resolver;
    if (status == ARES_EDESTRUCTION || self.generation_ != request->generation) return;
    self.result_ = found;
    // Delivered from the loop: c-ares may call back from inside ares_getaddrinfo.
    self.delivery_ = self.loop_.Post([&self] { self.DeliverResult(); });
}

void Resolver::DeliverResult() {
    if (!result_ || result_->generation != generation_ || !done_) return;
    const Result result = *result_;
    result_.reset();
    Done done = std::move(done_);
    done_ = nullptr;
    done(result.length ? reinterpret_cast<const sockaddr*>(&result.address) : nullptr, result.length);
}

void Resolver::OnSocketState(void* data, int fd, int readable, int writable) {
    auto* self = static_cast<Resolver*>(data);
    const short events = static_cast<short>((readable ? POLLIN : 0) | (writable ? POLLOUT : 0));
    auto it = self->watches_.find(fd);
    if (events == 0) {
        if (it != self->watches_.end()) self->watches_.erase(it);
    } else if (it != self->watches_.end()) {
        it->second.SetEvents(events);
    } else {
        self->watches_[fd] = self->loop_.AddWatch(fd, events, [self, fd](short revents) {
            const bool readable = revents & (POLLIN | POLLERR | POLLHUP);
            const bool writable = revents & POLLOUT;
            self->Process(readable ? fd : ARES_SOCKET_BAD, writable ? fd : ARES_SOCKET_BAD);
        });
    }
}

void Resolver::Process(int readFd, int writeFd) {
    ares_process_fd(channel_, readFd, writeFd);
    RescheduleTimeout();
}

void Resolver::RescheduleTimeout() {
    timeout_.Reset();
    timeval wait{};
    if (!ares_timeout(channel_, nullptr, &wait)) return;
    const TimePoint due =
        loop_.GetClock().Now() + std::chrono::seconds(wait.tv_sec) + std::chrono::microseconds(wait.tv_usec);
    timeout_ = loop_.AddTimer(due, [this] { Process(ARES_SOCKET_BAD, ARES_SOCKET_BAD); });
}

}  // namespace qv
