#pragma once

#include <memory>

#include "foundation/SocketCore.h"
#include "foundation/SocketPathClaim.h"

namespace qv {

// A local stream socket at a file path. Listen takes the path safely (see
// SocketPathClaim) and accepts exactly one peer, of this process's own user;
// Connect is the other side, for peers and tests.
class IPCSocket : public SocketCore {
public:
    explicit IPCSocket(RunLoop& loop);
    ~IPCSocket() override;

    const String& Path() const { return path_; }
    void SetPath(const String& path) { path_ = path; }

    // Starts listening and returns at once; Connected follows when the peer
    // arrives, Error when the path cannot be taken.
    void Listen();
    void Connect();

protected:
    void AcceptPending() override;
    // Closing gives the path up: the socket file goes, if it is still ours.
    void OnClose() override { claim_.reset(); }

private:
    String path_;
    std::unique_ptr<SocketPathClaim> claim_;
};

}  // namespace qv
