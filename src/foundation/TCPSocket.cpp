#include "foundation/TCPSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>
#include <string>

#include "foundation/SocketErrors.h"

namespace qv {

namespace {

// The address that `host` spells out, if it is a literal one.
std::optional<SocketAddress> LiteralAddress(const std::string& host) {
    SocketAddress address;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (inet_pton(AF_INET, host.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        address.length = sizeof *v4;
    } else if (inet_pton(AF_INET6, host.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        address.length = sizeof *v6;
    } else {
        return std::nullopt;
    }
    return address;
}

}  // namespace

TCPSocket::TCPSocket(RunLoop& loop) : SocketCore(loop) {}

TCPSocket::~TCPSocket() = default;

void TCPSocket::SetResolverSettings(ResolverSettings settings) {
    resolverSettings_ = std::move(settings);
    resolver_.reset();
}

void TCPSocket::OnClose() {
    if (resolver_) resolver_->Cancel();
}

void TCPSocket::Connect() {
    Close();
    if (port_ < 1 || port_ > 65535) {
        Fail(SocketError::InvalidPort);
        return;
    }
    const std::string host(address_.Bytes());
    if (const std::optional<SocketAddress> literal = LiteralAddress(host)) {
        StartConnecting({*literal}, static_cast<std::uint16_t>(port_));
    } else if (host.empty() || host.find('\0') != std::string::npos) {
        Fail(SocketError::NameNotResolved);
    } else {
        if (!resolver_) resolver_ = std::make_unique<Resolver>(Loop(), Source(), resolverSettings_);
        SetResolving();
        resolver_->Lookup(host, [this](std::vector<SocketAddress> addresses) {
            if (addresses.empty()) {
                Fail(SocketError::NameNotResolved);
            } else {
                StartConnecting(addresses, static_cast<std::uint16_t>(port_));
            }
        });
    }
}

}  // namespace qv
