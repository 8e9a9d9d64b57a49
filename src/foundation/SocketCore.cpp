#include "foundation/SocketCore.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "foundation/SocketErrors.h"
#include "foundation/platform/Platform.h"

namespace qv {

namespace {

constexpr std::size_t kReadPiece = 256 * 1024;
// Input taken per readiness before other sources get their turn.
constexpr std::size_t kReadBudget = 1024 * 1024;

std::int32_t ClampToInt32(std::size_t n) {
    return n > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())
               ? std::numeric_limits<std::int32_t>::max()
               : static_cast<std::int32_t>(n);
}

}  // namespace

SocketCore::SocketCore(RunLoop& loop) : loop_(loop), source_(loop.NewSource()) {}

SocketCore::~SocketCore() {
    if (destroyed_) *destroyed_ = true;
    CloseDescriptor();
}

void SocketCore::Close() {
    OnClose();
    race_.reset();
    CloseDescriptor();
    output_.Clear();
    pendingConnected_ = pendingData_ = pendingSendComplete_ = pendingError_ = false;
}

void SocketCore::Purge() {
    input_.Clear();
    output_.Clear();
    UpdateInterest();
}

std::int32_t SocketCore::BytesAvailable() const {
    return ClampToInt32(input_.Size());
}
std::int32_t SocketCore::BytesLeftToSend() const {
    return ClampToInt32(output_.Size());
}

String SocketCore::Read(std::int32_t count) {
    if (count <= 0) return String();
    return input_.Take(static_cast<std::size_t>(count));
}

String SocketCore::ReadAll() {
    return input_.TakeAll();
}

String SocketCore::Lookahead() const {
    return String(input_.View());
}

void SocketCore::Write(const String& data) {
    if (data.IsEmpty()) return;
    if (state_ == State::Connected && output_.IsEmpty()) {
        // Nothing queued ahead: send at once, and queue only what did not fit.
        output_.Push(data);
        FlushOutput();
        if (pendingSendComplete_) ScheduleDelivery();
    } else if (state_ == State::Connected || state_ == State::Connecting || state_ == State::Resolving) {
        output_.Push(data);
        UpdateInterest();
    }
}

void SocketCore::Adopt(Descriptor fd, State state) {
    CloseDescriptor();
    fd_ = std::move(fd);
    state_ = state;
    watch_ = loop_.AddWatch(
        fd_.Get(), 0, [this](short revents) { Service(revents); }, source_);
    UpdateInterest();
}

void SocketCore::StartConnecting(const std::vector<SocketAddress>& addresses, std::uint16_t port) {
    CloseDescriptor();
    state_ = State::Connecting;
    race_ = std::make_unique<ConnectionRace>(
        loop_, source_, addresses, port,
        [this](Descriptor connection) {
            race_.reset();
            Adopt(std::move(connection), State::Connected);
            MarkConnected();
        },
        [this](std::int32_t code) {
            race_.reset();
            Fail(code);
        });
}

void SocketCore::InputOutOfRoom() {
    Fail(SocketError::OutOfResources);
}

void SocketCore::Fail(std::int32_t code) {
    CloseDescriptor();
    lastErrorCode_ = code;
    pendingError_ = true;
    ScheduleDelivery();
}

void SocketCore::MarkConnected() {
    state_ = State::Connected;
    pendingConnected_ = true;
    UpdateInterest();
    ScheduleDelivery();
}

void SocketCore::CloseDescriptor() {
    watch_.Reset();
    fd_.Reset();
    state_ = State::Closed;
}

// Only a connected socket has a descriptor of its own to serve: listening and
// connecting happen on descriptors of the listener and the connection race.
void SocketCore::Service(short revents) {
    if (state_ == State::Connected && (revents & (POLLIN | POLLERR | POLLHUP))) ReadInput();
    if (state_ == State::Connected && (revents & POLLOUT)) FlushOutput();
    DeliverPending();
}

void SocketCore::ReadInput() {
    std::size_t taken = 0;
    while (taken < kReadBudget) {
        // Room for what is there, not for a whole piece: making room costs as
        // much as the read, and most reads are a frame or a header.
        int pending = 0;
        const std::size_t room = ioctl(fd_.Get(), FIONREAD, &pending) == 0 && pending > 0
                                     ? std::min<std::size_t>(pending, kReadPiece)
                                     : 4096;
        const long got = input_.AppendFrom(fd_.Get(), room);
        if (got > 0) {
            taken += static_cast<std::size_t>(got);
            pendingData_ = true;
            continue;
        }
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (got < 0 && errno == ENOMEM) {
            InputOutOfRoom();
            break;
        }
        // The peer has closed, or the connection broke: what was read stays
        // buffered for DataAvailable, and Error follows it.
        Fail(got == 0 ? SocketError::LostConnection : SocketError::FromErrno(errno));
        break;
    }
}

void SocketCore::FlushOutput() {
    bool sent = false;
    while (!output_.IsEmpty()) {
        const std::string_view pending = output_.Front();
        const ssize_t n = platform::SendWithoutSignal(fd_.Get(), pending.data(), pending.size());
        if (n > 0) {
            output_.Drop(static_cast<std::size_t>(n));
            sent = true;
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        } else {
            // The peer is gone or has stopped reading: the connection is lost.
            // What it sent before stays readable, and Error follows it.
            const int error = errno;
            output_.Clear();
            ReadInput();
            if (state_ == State::Connected) Fail(SocketError::FromErrno(error));
            return;
        }
    }
    if (sent && output_.IsEmpty()) pendingSendComplete_ = true;
    UpdateInterest();
}

short SocketCore::Interest() const {
    if (state_ != State::Connected) return 0;
    return static_cast<short>(POLLIN | (output_.IsEmpty() ? 0 : POLLOUT));
}

void SocketCore::UpdateInterest() {
    watch_.SetEvents(Interest());
}

void SocketCore::ScheduleDelivery() {
    if (deliveryScheduled_) return;
    // Owned by this socket: it goes with it, so it never runs for a gone one.
    delivery_ = loop_.Post(
        [this] {
            deliveryScheduled_ = false;
            DeliverPending();
        },
        source_);
    deliveryScheduled_ = true;
}

void SocketCore::DeliverPending() {
    // Set by the destructor if a handler destroys this socket; from then on
    // nothing of it is touched. Deliveries can nest (a handler that polls), so
    // the flag of the delivery outside is kept and told too.
    struct Watching {
        SocketCore& socket;
        bool* const outer;
        bool destroyed = false;
        explicit Watching(SocketCore& s) : socket(s), outer(s.destroyed_) { s.destroyed_ = &destroyed; }
        ~Watching() {
            if (!destroyed)
                socket.destroyed_ = outer;
            else if (outer)
                *outer = true;
        }
    } watching(*this);
    // Each handler runs as a copy: one that destroys its socket must not
    // destroy the function it is running.
    for (auto [pending, handler] : {std::pair{&pendingConnected_, &onConnected},
                                    {&pendingData_, &onDataAvailable},
                                    {&pendingSendComplete_, &onSendComplete},
                                    {&pendingError_, &onError}}) {
        if (!*pending) continue;
        *pending = false;
        if (const std::function<void()> call = *handler) call();
        if (watching.destroyed) return;
    }
}

}  // namespace qv
