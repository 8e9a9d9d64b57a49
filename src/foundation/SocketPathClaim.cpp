#include "foundation/SocketPathClaim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/SocketErrors.h"

namespace qv {

SocketPathClaim::~SocketPathClaim() { Release(); }

std::int32_t SocketPathClaim::Claim(const std::string& path, int& listenFd) {
    Release();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path || path.find('\0') != std::string::npos) {
        return SocketError::InvalidState;
    }
    std::memcpy(address.sun_path, path.data(), path.size());

    if (const std::int32_t error = Lock(path)) return error;

    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode) || existing.st_uid != geteuid()) {
            Release();
            return SocketError::InvalidState;
        }
        unlink(path.c_str());  // ours, and no live instance holds the lock: stale
    }

    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        const std::int32_t error = SocketError::FromErrno(errno);
        Release();
        return error;
    }
    const mode_t previousMask = umask(0177);
    const int bound = bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int bindError = errno;
    umask(previousMask);
    struct stat made {};
    if (bound != 0 || lstat(path.c_str(), &made) != 0 || listen(fd, 4) != 0) {
        const std::int32_t error = SocketError::FromErrno(bound != 0 ? bindError : errno);
        close(fd);
        if (bound == 0) unlink(path.c_str());
        Release();
        return error;
    }
    path_ = path;
    bound_ = true;
    device_ = made.st_dev;
    inode_ = made.st_ino;
    listenFd = fd;
    return 0;
}

std::int32_t SocketPathClaim::Lock(const std::string& path) {
    const std::string lockPath = path + ".lock";
    lockFd_ = open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (lockFd_ < 0) return SocketError::InvalidState;
    struct stat lockFile {};
    if (fstat(lockFd_, &lockFile) != 0 || !S_ISREG(lockFile.st_mode) || lockFile.st_uid != geteuid()) {
        Release();
        return SocketError::InvalidState;
    }
    if (flock(lockFd_, LOCK_EX | LOCK_NB) != 0) {
        Release();
        return SocketError::AddressInUse;  // a live instance holds the path
    }
    return 0;
}

void SocketPathClaim::Release() {
    if (bound_) {
        struct stat now {};
        if (lstat(path_.c_str(), &now) == 0 && now.st_dev == device_ && now.st_ino == inode_) unlink(path_.c_str());
        bound_ = false;
    }
    // The lock file itself stays: removing it would let a second instance lock
    // a fresh file while a third still waits on the old one.
    if (lockFd_ >= 0) close(lockFd_);
    lockFd_ = -1;
}

}  // namespace qv
