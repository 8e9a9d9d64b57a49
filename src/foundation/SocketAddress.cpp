#include "foundation/SocketAddress.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace qv {

SocketAddress SocketAddress::WithPort(std::uint16_t port) const {
    SocketAddress copy = *this;
    if (Family() == AF_INET) {
        reinterpret_cast<sockaddr_in*>(&copy.storage)->sin_port = htons(port);
    } else if (Family() == AF_INET6) {
        reinterpret_cast<sockaddr_in6*>(&copy.storage)->sin6_port = htons(port);
    }
    return copy;
}

}  // namespace qv
