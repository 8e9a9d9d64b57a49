#include "foundation/TCPSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "foundation/SocketErrors.h"

namespace qv {

TCPSocket::TCPSocket(RunLoop& loop) : SocketCore(loop) {}

TCPSocket::~TCPSocket() = default;

void TCPSocket::OnClose() {
    if (resolver_) resolver_->Cancel();
}

void TCPSocket::Poll() {
    if (GetState() == State::Resolving && resolver_) resolver_->Poll();
    SocketCore::Poll();
}

void TCPSocket::Connect() {
    Close();
    if (port_ < 1 || port_ > 65535) {
        Fail(SocketError::InvalidPort);
        return;
    }
    const std::string host(address_.Bytes());
    sockaddr_in v4{};
    sockaddr_in6 v6{};
    if (inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        StartConnect(reinterpret_cast<const sockaddr*>(&v4), sizeof v4);
    } else if (inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) == 1) {
        v6.sin6_family = AF_INET6;
        StartConnect(reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
    } else if (host.empty() || host.find('\0') != std::string::npos) {
        Fail(SocketError::NameNotResolved);
    } else {
        if (!resolver_) resolver_ = std::make_unique<Resolver>(Loop());
        SetResolving();
        resolver_->Lookup(host, [this](const sockaddr* address, socklen_t length) {
            if (address) {
                StartConnect(address, length);
            } else {
                Fail(SocketError::NameNotResolved);
            }
        });
    }
}

void TCPSocket::StartConnect(const sockaddr* address, socklen_t length) {
    sockaddr_storage target{};
    std::memcpy(&target, address, length);
    const auto port = htons(static_cast<std::uint16_t>(port_));
    if (target.ss_family == AF_INET) {
        reinterpret_cast<sockaddr_in*>(&target)->sin_port = port;
    } else {
        reinterpret_cast<sockaddr_in6*>(&target)->sin6_port = port;
    }
    const int fd = socket(target.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        Fail(SocketError::FromErrno(errno));
        return;
    }
    StartConnecting(fd, reinterpret_cast<const sockaddr*>(&target), length);
}

}  // namespace qv
