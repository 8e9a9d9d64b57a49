#pragma once

#include <memory>

#include "foundation/Descriptor.h"
#include "foundation/SocketCore.h"
#include "foundation/SocketPathClaim.h"

namespace qv {

// A local stream socket at a file path. Listen takes the path safely (see
// SocketPathClaim) and accepts exactly one peer, of this process's own user;
// Connect is the other side, for peers and tests.
//
// The listener stays open after the peer came: every further connection is
// taken and closed at once, unread, so that a second peer learns that the
// channel is busy rather than gone. Out of descriptors, a connection is taken
// with one held in reserve for that, so the listener never stays ready and
// spins the loop; failing even that, it is left out of the wait for a while.
class IPCSocket : public SocketCore {
public:
    // `lockFolder` goes to the path's claim (SocketPathClaim).
    explicit IPCSocket(RunLoop& loop, std::string lockFolder = SocketPathClaim::PrivateFolder());
    ~IPCSocket() override;

    const String& Path() const { return path_; }
    void SetPath(const String& path) { path_ = path; }

    // Starts listening and returns at once; Connected follows when the peer
    // arrives, Error when the path cannot be taken, or when, before the peer
    // came, the path stopped naming this socket (someone deleted the file): no
    // peer could ever reach it, and ending frees the path for a new start.
    void Listen();
    void Connect();

protected:
    // Closing gives the path up: the socket file goes, if it is still ours.
    void OnClose() override;

private:
    void AcceptPending();
    void TakePeer(Descriptor connection);
    void PauseListening();
    void WatchPath();

    const std::string lockFolder_;
    String path_;
    std::unique_ptr<SocketPathClaim> claim_;
    Descriptor listener_;
    RunLoop::Watch listenWatch_;
    // Spent to take a connection when the process is out of descriptors.
    Descriptor reserve_;
    RunLoop::Pending resumeListening_;
    RunLoop::Pending pathCheck_;
    bool peerTaken_ = false;
};

}  // namespace qv
