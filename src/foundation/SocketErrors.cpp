#include "foundation/SocketErrors.h"

#include <cerrno>

namespace qv::SocketError {

std::int32_t FromErrno(int error) {
    switch (error) {
        case ECONNREFUSED:
        case ECONNRESET:
        case ECONNABORTED:
        case EPIPE:
        case ETIMEDOUT:
        case EHOSTUNREACH:
        case ENETUNREACH:
        case ENETDOWN:
        case ENOENT:  // a local socket path that is gone refuses like a closed port
            return LostConnection;
        case EADDRINUSE:
            return AddressInUse;
        case ENOMEM:
        case ENOBUFS:
        case EMFILE:
        case ENFILE:
            return OutOfResources;
        default:
            return Other;
    }
}

}  // namespace qv::SocketError
