#include "foundation/IPCSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "foundation/SocketErrors.h"
#include "foundation/platform/Platform.h"

namespace qv {

namespace {

// How often a listener that has no peer yet looks whether its file is still there.
constexpr std::chrono::seconds kPathCheckPeriod(2);
// How long a listener rests when not even the reserve can take a connection.
constexpr std::chrono::seconds kOutOfDescriptorsPause(1);

bool PeerIsThisUser(int fd) {
    uid_t uid = 0;
    return platform::PeerUserId(fd, uid) && uid == geteuid();
}

Descriptor OpenReserve() {
    return Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

IPCSocket::IPCSocket(RunLoop& loop, std::string lockFolder)
    : SocketCore(loop), lockFolder_(std::move(lockFolder)) {}

IPCSocket::~IPCSocket() = default;

void IPCSocket::Listen() {
    Close();
    auto claim = std::make_unique<SocketPathClaim>(lockFolder_);
    if (const std::int32_t error = claim->Claim(std::string(path_.Bytes()), listener_)) {
        Fail(error);
        return;
    }
    claim_ = std::move(claim);
    reserve_ = OpenReserve();
    peerTaken_ = false;
    SetListening();
    listenWatch_ = Loop().AddWatch(listener_.Get(), POLLIN, [this](short) { AcceptPending(); });
    WatchPath();
}

void IPCSocket::OnClose() {
    pathCheck_.Reset();
    resumeListening_.Reset();
    listenWatch_.Reset();
    listener_.Reset();
    reserve_.Reset();
    claim_.reset();
}

void IPCSocket::AcceptPending() {
    for (;;) {
        Descriptor connection(platform::AcceptConnection(listener_.Get()));
        if (!connection) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno != EMFILE && errno != ENFILE) return;  // nothing waiting after all
            if (!reserve_) {
                PauseListening();
                return;
            }
            reserve_.Reset();  // room for the one connection that is waiting
            continue;
        }
        if (!peerTaken_ && PeerIsThisUser(connection.Get())) {
            TakePeer(std::move(connection));
        }  // else: closed unread, as the channel is taken or the peer not ours
        if (!reserve_) reserve_ = OpenReserve();
    }
}

void IPCSocket::TakePeer(Descriptor connection) {
    peerTaken_ = true;
    pathCheck_.Reset();
    Adopt(std::move(connection), State::Connected);
    MarkConnected();
}

void IPCSocket::PauseListening() {
    listenWatch_.SetEvents(0);
    resumeListening_ = Loop().AddTimer(Loop().GetClock().Now() + kOutOfDescriptorsPause, [this] {
        if (!reserve_) reserve_ = OpenReserve();
        listenWatch_.SetEvents(POLLIN);
    });
}

void IPCSocket::WatchPath() {
    pathCheck_ = Loop().AddTimer(Loop().GetClock().Now() + kPathCheckPeriod, [this] {
        if (claim_ && claim_->StillAtPath()) {
            WatchPath();
        } else {
            OnClose();
            Fail(SocketError::InvalidState);
        }
    });
}

void IPCSocket::Connect() {
    Close();
    const std::string path(path_.Bytes());
    SocketAddress address;
    auto& local = reinterpret_cast<sockaddr_un&>(address.storage);
    if (path.empty() || path.size() >= sizeof local.sun_path) {
        Fail(SocketError::InvalidState);
        return;
    }
    local.sun_family = AF_UNIX;
    std::memcpy(local.sun_path, path.data(), path.size());
    address.length = sizeof local;
    StartConnecting({address}, 0);
}

}  // namespace qv
