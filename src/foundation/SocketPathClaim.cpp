#include "foundation/SocketPathClaim.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "foundation/SocketErrors.h"
#include "foundation/platform/Platform.h"

namespace qv {

namespace {

// A real folder of this user, which this user can write into and nobody else can.
bool IsPrivateFolder(const std::string& folder) {
    struct stat info {};
    return !folder.empty() && lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
           info.st_uid == geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 &&
           access(folder.c_str(), W_OK) == 0;
}

std::string HomeFolder() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_dir)
        return std::string();
    return found->pw_dir;
}

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

std::string SocketPathClaim::PrivateFolder() {
    for (const std::string& folder : {platform::SessionFolder(), HomeFolder()}) {
        if (IsPrivateFolder(folder)) return folder;
    }
    return std::string();
}

SocketPathClaim::SocketPathClaim(std::string lockFolder) : lockFolder_(std::move(lockFolder)) {}

SocketPathClaim::~SocketPathClaim() { Release(); }

std::int32_t SocketPathClaim::Claim(const std::string& path, Descriptor& listener) {
    Release();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path || path.find('\0') != std::string::npos) {
        return SocketError::InvalidState;
    }
    std::memcpy(address.sun_path, path.data(), path.size());

    if (const std::int32_t error = TakeLock(path)) return error;

    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode) || existing.st_uid != geteuid()) {
            Release();
            return SocketError::InvalidState;
        }
        unlink(path.c_str());  // ours, and no live instance holds the lock: stale
    }

    Descriptor fd(platform::MakeSocket(AF_UNIX, SOCK_STREAM));
    if (!fd) {
        const std::int32_t error = SocketError::FromErrno(errno);
        Release();
        return error;
    }
    const mode_t previousMask = umask(0177);
    const int bound = bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int bindError = errno;
    umask(previousMask);
    struct stat made {};
    if (bound != 0 || lstat(path.c_str(), &made) != 0 || listen(fd.Get(), 4) != 0) {
        const std::int32_t error = SocketError::FromErrno(bound != 0 ? bindError : errno);
        if (bound == 0) unlink(path.c_str());
        Release();
        return error;
    }
    path_ = path;
    bound_ = true;
    device_ = made.st_dev;
    inode_ = made.st_ino;
    listener = std::move(fd);
    return 0;
}

bool SocketPathClaim::StillAtPath() const {
    struct stat now {};
    return bound_ && lstat(path_.c_str(), &now) == 0 && now.st_dev == device_ && now.st_ino == inode_;
}

std::int32_t SocketPathClaim::TakeLock(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0) return SocketError::FromErrno(errno);
    // A socket's path is short (sun_path), so its name always fits a file name.
    lockPath_ = (lockFolder_.empty() ? folder : lockFolder_) + "/.qvassistant-" + std::to_string(info.st_dev) + "-" +
                std::to_string(info.st_ino) + "-" + name + ".lock";
    // An instance that ends removes the file before it lets the lock go, so a
    // lock taken on a file that the path no longer names is taken again.
    for (;;) {
        Descriptor fd(open(lockPath_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
        struct stat opened {};
        if (!fd || fstat(fd.Get(), &opened) != 0) return SocketError::FromErrno(errno);
        if (!S_ISREG(opened.st_mode) || opened.st_uid != geteuid()) return SocketError::InvalidState;
        if (flock(fd.Get(), LOCK_EX | LOCK_NB) != 0) {
            return errno == EWOULDBLOCK ? SocketError::AddressInUse : SocketError::FromErrno(errno);
        }
        struct stat named {};
        if (lstat(lockPath_.c_str(), &named) == 0 && SameFile(named, opened)) {
            lock_ = std::move(fd);
            return 0;
        }
    }
}

void SocketPathClaim::Release() {
    if (bound_) {
        if (StillAtPath()) unlink(path_.c_str());
        bound_ = false;
    }
    if (lock_) {
        struct stat named {};
        struct stat held {};
        if (lstat(lockPath_.c_str(), &named) == 0 && fstat(lock_.Get(), &held) == 0 && SameFile(named, held))
            unlink(lockPath_.c_str());
        lock_.Reset();
    }
}

}  // namespace qv
