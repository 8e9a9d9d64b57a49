#include "foundation/SocketPathClaim.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "foundation/SocketErrors.h"

namespace qv {

namespace {

// FNV-1a: a name too long for the abstract namespace is told by its hash.
std::uint64_t Hash(std::string_view text) {
    std::uint64_t hash = 14695981039346656037ull;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    return hash;
}

// The token's abstract name (behind the leading NUL), or "" when the folder
// cannot be looked at.
std::string TokenName(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0) return std::string();
    std::string token = "qvassistant:" + std::to_string(geteuid()) + ":" + std::to_string(info.st_dev) + ":" +
                        std::to_string(info.st_ino) + ":";
    constexpr std::size_t kRoom = sizeof(sockaddr_un::sun_path) - 1;
    token += token.size() + name.size() <= kRoom ? name : std::to_string(Hash(name));
    return token;
}

}  // namespace

SocketPathClaim::~SocketPathClaim() { Release(); }

std::int32_t SocketPathClaim::Claim(const std::string& path, int& listenFd) {
    Release();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path || path.find('\0') != std::string::npos) {
        return SocketError::InvalidState;
    }
    std::memcpy(address.sun_path, path.data(), path.size());

    if (const std::int32_t error = TakeToken(path)) return error;

    struct stat existing {};
    if (lstat(path.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode) || existing.st_uid != geteuid()) {
            Release();
            return SocketError::InvalidState;
        }
        unlink(path.c_str());  // ours, and no live instance holds the token: stale
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

std::int32_t SocketPathClaim::TakeToken(const std::string& path) {
    const std::string name = TokenName(path);
    if (name.empty()) return SocketError::FromErrno(errno);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    tokenFd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (tokenFd_ < 0) return SocketError::FromErrno(errno);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    if (bind(tokenFd_, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        const int error = errno;
        Release();
        return SocketError::FromErrno(error);  // EADDRINUSE: a live instance holds the path
    }
    return 0;
}

void SocketPathClaim::Release() {
    if (bound_) {
        struct stat now {};
        if (lstat(path_.c_str(), &now) == 0 && now.st_dev == device_ && now.st_ino == inode_) unlink(path_.c_str());
        bound_ = false;
    }
    if (tokenFd_ >= 0) close(tokenFd_);
    tokenFd_ = -1;
}

}  // namespace qv
