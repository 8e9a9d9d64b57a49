#include "foundation/Resolver.h"

#include <ares.h>
#include <poll.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

namespace qv {

// c-ares calls back only while the resolver lives: from the loop, or from
// ares_destroy (ARES_EDESTRUCTION).
struct Resolver::Request {
    Resolver* resolver;
    std::uint64_t generation;
};

namespace {

void InitializeLibraryOnce() {
    static std::once_flag once;
    std::call_once(once, [] { ares_library_init(ARES_LIB_INIT_ALL); });
}

// Besides the configuration itself, what c-ares reads once, when it is made:
// the order of the sources of names.
constexpr const char* kLookupOrderFiles[] = {"/etc/nsswitch.conf", "/etc/host.conf"};

}  // namespace

Resolver::Resolver(RunLoop& loop, RunLoop::SourceId source, ResolverSettings settings)
    : loop_(loop), source_(source), settings_(std::move(settings)) {
    InitializeLibraryOnce();
}

Resolver::~Resolver() {
    if (channel_) ares_destroy(channel_);
}

std::vector<Resolver::Stamp> Resolver::ConfigurationStamps() const {
    std::vector<Stamp> stamps;
    const auto stampOf = [](const char* path) {
        struct stat info {};
        if (::stat(path, &info) != 0) return Stamp{0, 0, -1, 0, 0};
        return Stamp{info.st_dev, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
    };
    stamps.push_back(stampOf(settings_.configuration.c_str()));
    for (const char* path : kLookupOrderFiles) stamps.push_back(stampOf(path));
    return stamps;
}

void Resolver::Refresh() {
    std::vector<Stamp> stamps = ConfigurationStamps();
    if (channel_ && stamps == stamps_) return;
    if (channel_) ares_destroy(channel_);
    channel_ = nullptr;
    watches_.clear();
    timeout_.Reset();
    std::string configuration = settings_.configuration;
    ares_options options{};
    options.sock_state_cb = OnSocketState;
    options.sock_state_cb_data = this;
    options.resolvconf_path = configuration.data();
    int mask = ARES_OPT_SOCK_STATE_CB | ARES_OPT_RESOLVCONF;
    if (settings_.port != 0) {
        options.udp_port = settings_.port;
        options.tcp_port = settings_.port;
        mask |= ARES_OPT_UDP_PORT | ARES_OPT_TCP_PORT;
    }
    if (ares_init_options(&channel_, &options, mask) != ARES_SUCCESS) channel_ = nullptr;
    stamps_ = std::move(stamps);
}

void Resolver::Lookup(const std::string& host, Done done) {
    Cancel();
    done_ = std::move(done);
    Refresh();
    if (!channel_) {
        result_ = Result{generation_, {}};
        delivery_ = loop_.Post([this] { DeliverResult(); }, source_);
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

void Resolver::OnResult(void* arg, int status, int /*timeouts*/, ares_addrinfo* result) {
    std::unique_ptr<Request> request(static_cast<Request*>(arg));
    Result found{request->generation, {}};
    if (status == ARES_SUCCESS && result) {
        for (const ares_addrinfo_node* node = result->nodes; node; node = node->ai_next) {
            SocketAddress address;
            address.length = static_cast<socklen_t>(std::min<std::size_t>(node->ai_addrlen, sizeof address.storage));
            std::memcpy(&address.storage, node->ai_addr, address.length);
            found.addresses.push_back(address);
        }
    }
    if (result) ares_freeaddrinfo(result);
    Resolver& self = *request->resolver;
    if (status == ARES_EDESTRUCTION || self.generation_ != request->generation) return;
    self.result_ = std::move(found);
    // Delivered from the loop: c-ares may call back from inside ares_getaddrinfo.
    self.delivery_ = self.loop_.Post([&self] { self.DeliverResult(); }, self.source_);
}

void Resolver::DeliverResult() {
    if (!result_ || result_->generation != generation_ || !done_) return;
    std::vector<SocketAddress> addresses = std::move(result_->addresses);
    result_.reset();
    Done done = std::move(done_);
    done_ = nullptr;
    done(std::move(addresses));
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
        self->watches_[fd] = self->loop_.AddWatch(
            fd, events,
            [self, fd](short revents) {
                const bool readable = revents & (POLLIN | POLLERR | POLLHUP);
                const bool writable = revents & POLLOUT;
                self->Process(readable ? fd : ARES_SOCKET_BAD, writable ? fd : ARES_SOCKET_BAD);
            },
            self->source_);
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
    timeout_ = loop_.AddTimer(due, [this] { Process(ARES_SOCKET_BAD, ARES_SOCKET_BAD); }, source_);
}

}  // namespace qv
