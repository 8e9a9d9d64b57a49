#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "foundation/Descriptor.h"

namespace qv {

// Takes a local socket path for this process, safely, in a shared folder such
// as /tmp.
//
// Liveness is a lock (flock) that the kernel drops with the process, held on a
// file in a folder where only this user can write (see PrivateFolder), named
// from the socket's folder (device and inode, so a private /tmp is a channel of
// its own) and the file name. Another user cannot take it first, and a file
// left behind by a crash is harmless: the lock, not the file, tells liveness.
// The file is removed at the end. A live instance is never probed by
// connecting: it would take the probe for its one peer and end when the probe
// left. With the lock held, a socket file of ours at the path is stale and is
// replaced; anything else there (a regular file, a symlink, a folder, another
// user's file) is left untouched, and blocks the start until it is removed. The
// socket is bound under umask 0177, so it is born with mode 0600, and it is
// removed at the end only if the path still names the very socket made here.
class SocketPathClaim {
public:
    // `lockFolder`: where the liveness lock lives; PrivateFolder() in use.
    explicit SocketPathClaim(std::string lockFolder = PrivateFolder());
    SocketPathClaim(const SocketPathClaim&) = delete;
    SocketPathClaim& operator=(const SocketPathClaim&) = delete;
    ~SocketPathClaim();

    // 0 and a listening non-blocking descriptor, or a LastErrorCode value
    // (105 when a live instance holds the path); on failure nothing at the
    // path has been touched.
    std::int32_t Claim(const std::string& path, Descriptor& listener);
    // True while the path still names the socket made here: a socket file
    // that someone deleted can never be reached again.
    bool StillAtPath() const;

    // A folder that only this user can write: the system's folder for this
    // user's session (platform::SessionFolder) where there is one, else the
    // home folder of the password database; the empty text when neither is
    // (then the lock goes beside the socket, where another user could block
    // it). No environment variable is read.
    static std::string PrivateFolder();

private:
    std::int32_t TakeLock(const std::string& path);
    void Release();

    const std::string lockFolder_;
    std::string lockPath_;
    Descriptor lock_;
    std::string path_;
    bool bound_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace qv
