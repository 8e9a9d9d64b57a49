#include "foundation/Resolver.h"

#include <ares.h>
#include <poll.h>

#include <cstring>
#include <mutex>

namespace qv {

struct Resolver::Request {
    std::weak_ptr<Resolver*> resolver;
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

Resolver::Resolver(RunLoop& loop) : loop_(loop), self_(std::make_shared<Resolver*>(this)) {
    InitializeLibraryOnce();
    ares_options options{};
    options.sock_state_cb = OnSocketState;
    options.sock_state_cb_data = this;
    if (ares_init_options(&channel_, &options, ARES_OPT_SOCK_STATE_CB) != ARES_SUCCESS) channel_ = nullptr;
}

Resolver::~Resolver() {
    self_.reset();  // results still in flight find no resolver
    if (timeout_) loop_.CancelTimer(*timeout_);
    for (const auto& [fd, watch] : watches_) loop_.RemoveWatch(watch);
    watches_.clear();
    if (channel_) ares_destroy(channel_);
}

void Resolver::Lookup(const std::string& host, Done done) {
    Cancel();
    done_ = std::move(done);
    const std::uint64_t generation = generation_;
    if (!channel_) {
        loop_.Post([weak = std::weak_ptr<Resolver*>(self_), generation] {
            auto self = weak.lock();
            if (self && (*self)->generation_ == generation) (*self)->done_(nullptr, 0);
        });
        return;
    }
    ares_addrinfo_hints hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    ares_getaddrinfo(channel_, host.c_str(), nullptr, &hints, OnResult, new Request{self_, generation});
    RescheduleTimeout();
}

void Resolver::Cancel() {
    ++generation_;
    done_ = nullptr;
}

void Resolver::OnResult(void* arg, int status, int /*timeouts*/, ares_addrinfo* result) {
    std::unique_ptr<Request> request(static_cast<Request*>(arg));
    sockaddr_storage address{};
    socklen_t length = 0;
    if (const ares_addrinfo_node* node = status == ARES_SUCCESS ? Preferred(result) : nullptr) {
        length = static_cast<socklen_t>(std::min<std::size_t>(node->ai_addrlen, sizeof address));
        std::memcpy(&address, node->ai_addr, length);
    }
    if (result) ares_freeaddrinfo(result);
    auto self = request->resolver.lock();
    if (!self) return;
    // Deliver from the loop: c-ares may call back from inside ares_getaddrinfo.
    (*self)->loop_.Post([weak = request->resolver, generation = request->generation, address, length] {
        auto resolver = weak.lock();
        if (!resolver || (*resolver)->generation_ != generation || !(*resolver)->done_) return;
        Done done = std::move((*resolver)->done_);
        done(length ? reinterpret_cast<const sockaddr*>(&address) : nullptr, length);
    });
}

void Resolver::OnSocketState(void* data, int fd, int readable, int writable) {
    auto* self = static_cast<Resolver*>(data);
    const short events = static_cast<short>((readable ? POLLIN : 0) | (writable ? POLLOUT : 0));
    auto it = self->watches_.find(fd);
    if (events == 0) {
        if (it != self->watches_.end()) {
            self->loop_.RemoveWatch(it->second);
            self->watches_.erase(it);
        }
    } else if (it != self->watches_.end()) {
        self->loop_.SetWatchEvents(it->second, events);
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
    if (timeout_) loop_.CancelTimer(*timeout_);
    timeout_.reset();
    timeval wait{};
    if (!ares_timeout(channel_, nullptr, &wait)) return;
    const Duration due = loop_.GetClock().Now() + std::chrono::seconds(wait.tv_sec) +
                         std::chrono::microseconds(wait.tv_usec);
    timeout_ = loop_.AddTimer(due, [this] {
        timeout_.reset();
        Process(ARES_SOCKET_BAD, ARES_SOCKET_BAD);
    });
}

}  // namespace qv
