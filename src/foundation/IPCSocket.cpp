#include "foundation/IPCSocket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "foundation/SocketErrors.h"

namespace qv {

namespace {

bool PeerIsThisUser(int fd) {
#if defined(SO_PEERCRED)
    ucred peer{};
    socklen_t length = sizeof peer;
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == geteuid();
#else
    uid_t uid = 0;
    gid_t gid = 0;
    return getpeereid(fd, &uid, &gid) == 0 && uid == geteuid();
#endif
}

}  // namespace

IPCSocket::IPCSocket(RunLoop& loop) : SocketCore(loop) {}

IPCSocket::~IPCSocket() = default;

void IPCSocket::Listen() {
    Close();
    auto claim = std::make_unique<SocketPathClaim>();
    int listenFd = -1;
    if (const std::int32_t error = claim->Claim(std::string(path_.Bytes()), listenFd)) {
        Fail(error);
        return;
    }
    claim_ = std::move(claim);
    Adopt(listenFd, State::Listening);
}

void IPCSocket::AcceptPending() {
    for (;;) {
        const int fd = accept4(Descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            return;  // nothing waiting after all
        }
        if (!PeerIsThisUser(fd)) {
            close(fd);
            continue;
        }
        // The one peer: stop listening, so that any further peer is refused.
        Adopt(fd, State::Connected);
        MarkConnected();
        return;
    }
}

void IPCSocket::Connect() {
    Close();
    const std::string path(path_.Bytes());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        Fail(SocketError::InvalidState);
        return;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        Fail(SocketError::FromErrno(errno));
        return;
    }
    StartConnecting(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace qv
