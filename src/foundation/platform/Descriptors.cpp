#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/platform/Platform.h"

namespace qv::platform {

#if defined(QV_LINUX_CALLS)

int MakeSocket(int family, int type) {
    return ::socket(family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

int AcceptConnection(int listener) {
    return ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

bool MakeSelfPipe(int ends[2]) {
    return ::pipe2(ends, O_NONBLOCK | O_CLOEXEC) == 0;
}

#else

namespace {

// The flags that Linux sets in the making call, set afterwards. Neither
// program starts another, so no child can inherit a descriptor in between.
bool SetFlags(int fd, bool socket) {
    const int status = ::fcntl(fd, F_GETFL);
    bool set = status >= 0 && ::fcntl(fd, F_SETFL, status | O_NONBLOCK) == 0 &&
               ::fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
#if defined(SO_NOSIGPIPE)
    // macOS and FreeBSD: sends on this socket never raise SIGPIPE.
    const int on = 1;
    set = set && (!socket || ::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on) == 0);
#else
    (void)socket;
#endif
    return set;
}

void CloseKeepingErrno(int fd) {
    const int error = errno;
    ::close(fd);
    errno = error;
}

int Prepared(int fd, bool socket) {
    if (fd < 0 || SetFlags(fd, socket)) return fd;
    CloseKeepingErrno(fd);
    return -1;
}

}  // namespace

int MakeSocket(int family, int type) {
    return Prepared(::socket(family, type, 0), true);
}

int AcceptConnection(int listener) {
    return Prepared(::accept(listener, nullptr, nullptr), true);
}

bool MakeSelfPipe(int ends[2]) {
    if (::pipe(ends) != 0) return false;
    if (SetFlags(ends[0], false) && SetFlags(ends[1], false)) return true;
    CloseKeepingErrno(ends[0]);
    CloseKeepingErrno(ends[1]);
    return false;
}

#endif

}  // namespace qv::platform
