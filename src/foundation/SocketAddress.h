#pragma once

#include <sys/socket.h>

#include <cstdint>

namespace qv {

// One address to connect to, of either family.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;

    int Family() const { return storage.ss_family; }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    // The same address with `port` (host order).
    SocketAddress WithPort(std::uint16_t port) const;
};

}  // namespace qv
