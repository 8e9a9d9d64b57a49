#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>  // getpeereid: the BSD family's own; libbsd's overlay on Linux

#include <cerrno>

#include "foundation/platform/Platform.h"

namespace qv::platform {

ssize_t SendWithoutSignal(int fd, const void* bytes, std::size_t size) {
#if defined(QV_LINUX_CALLS)
    return ::send(fd, bytes, size, MSG_NOSIGNAL);
#elif defined(SO_NOSIGPIPE)
    return ::send(fd, bytes, size, 0);  // MakeSocket set SO_NOSIGPIPE
#else
    // SIGPIPE blocked in this thread for the call, and the one that the call
    // raised taken back. Ignoring it process-wide instead would change how
    // qvctl ends on a closed standard output.
    sigset_t pipe;
    sigset_t previous;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &previous);
    const ssize_t sent = ::send(fd, bytes, size, 0);
    const int error = errno;
    sigset_t pending;
    int taken = 0;
    if (sent < 0 && error == EPIPE && sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1) {
        sigwait(&pipe, &taken);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return sent;
#endif
}

bool PeerUserId(int fd, uid_t& uid) {
#if defined(QV_LINUX_CALLS)
    ucred peer{};
    socklen_t length = sizeof peer;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) return false;
    uid = peer.uid;
    return true;
#else
    gid_t group = 0;
    return ::getpeereid(fd, &uid, &group) == 0;
#endif
}

}  // namespace qv::platform
