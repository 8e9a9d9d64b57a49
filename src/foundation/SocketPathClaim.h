#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace qv {

// Takes a local socket path for this process, safely, in a shared folder such
// as /tmp.
//
// Liveness is a token that the kernel drops with the process: a socket bound
// in the abstract namespace, named from the user id, the folder (device and
// inode, so a private /tmp is a channel of its own) and the file name. It
// leaves nothing behind in the folder. A live instance is never probed by
// connecting: it would take the probe for its one peer and end when the probe
// left. With the token held, a socket file of ours at the path is stale and is
// replaced; anything else there (a regular file, a symlink, a folder, another
// user's file) is left untouched. The socket is bound under umask 0177, so it
// is born with mode 0600, and it is removed at the end only if the path still
// names the very socket made here.
class SocketPathClaim {
public:
    SocketPathClaim() = default;
    SocketPathClaim(const SocketPathClaim&) = delete;
    SocketPathClaim& operator=(const SocketPathClaim&) = delete;
    ~SocketPathClaim();

    // 0 and a listening non-blocking descriptor in `listenFd`, or a
    // LastErrorCode value; on failure nothing at the path has been touched.
    std::int32_t Claim(const std::string& path, int& listenFd);

private:
    std::int32_t TakeToken(const std::string& path);
    void Release();

    std::string path_;
    int tokenFd_ = -1;
    bool bound_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace qv
