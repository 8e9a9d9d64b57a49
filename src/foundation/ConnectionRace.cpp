#include "foundation/ConnectionRace.h"

#include <sys/socket.h>

#include <cerrno>

#include "foundation/SocketErrors.h"
#include "foundation/platform/Platform.h"

namespace qv {

namespace {

// The families in turn: first, then the other, then the first again...
std::vector<SocketAddress> Interleaved(const std::vector<SocketAddress>& addresses, std::uint16_t port) {
    std::vector<SocketAddress> first, other, order;
    for (const SocketAddress& address : addresses) {
        (address.Family() == addresses.front().Family() ? first : other).push_back(address.WithPort(port));
    }
    for (std::size_t i = 0; i < first.size() || i < other.size(); ++i) {
        if (i < first.size()) order.push_back(first[i]);
        if (i < other.size()) order.push_back(other[i]);
    }
    return order;
}

}  // namespace

ConnectionRace::ConnectionRace(RunLoop& loop, RunLoop::SourceId source, const std::vector<SocketAddress>& addresses,
                               std::uint16_t port, Won won, Lost lost)
    : loop_(loop),
      source_(source),
      order_(addresses.empty() ? addresses : Interleaved(addresses, port)),
      won_(std::move(won)),
      lost_(std::move(lost)) {
    StartNext();
}

void ConnectionRace::StartNext() {
    nextStart_.Reset();
    if (next_ >= order_.size()) {
        LoseIfOver();
        return;
    }
    const SocketAddress& address = order_[next_++];
    Descriptor fd(platform::MakeSocket(address.Family(), SOCK_STREAM));
    const int error = !fd ? errno : connect(fd.Get(), address.Get(), address.length) == 0 ? 0 : errno;
    auto attempt = attempts_.insert(attempts_.end(), Attempt{std::move(fd), {}, {}});
    if (error != EINPROGRESS) {
        // An outcome at once still comes from the loop, never from inside the
        // call that started the race. A local listener whose queue is full
        // refuses with EAGAIN.
        attempt->outcome = loop_.AddTimer(
            loop_.GetClock().Now(),
            [this, attempt, error] {
                if (error == 0) {
                    Settle(attempt);
                } else {
                    Failed(attempt, error == EAGAIN ? ECONNREFUSED : error);
                }
            },
            source_);
    } else {
        attempt->watch = loop_.AddWatch(
            attempt->fd.Get(), POLLOUT,
            [this, attempt](short) {
                int result = 0;
                socklen_t length = sizeof result;
                if (getsockopt(attempt->fd.Get(), SOL_SOCKET, SO_ERROR, &result, &length) != 0) result = errno;
                if (result == EINPROGRESS) return;
                if (result == 0) {
                    Settle(attempt);
                } else {
                    Failed(attempt, result);
                }
            },
            source_);
        if (next_ < order_.size()) {
            nextStart_ = loop_.AddTimer(loop_.GetClock().Now() + kAttemptDelay, [this] { StartNext(); }, source_);
        }
    }
}

void ConnectionRace::Settle(std::list<Attempt>::iterator attempt) {
    Descriptor connection = std::move(attempt->fd);
    attempts_.clear();  // the others are closed
    nextStart_.Reset();
    const Won won = won_;  // the race may go inside the call
    won(std::move(connection));
}

void ConnectionRace::Failed(std::list<Attempt>::iterator attempt, int error) {
    lastErrorCode_ = SocketError::FromErrno(error);
    attempts_.erase(attempt);
    // The next one at once, rather than at its time.
    if (next_ < order_.size()) {
        nextStart_ = loop_.AddTimer(loop_.GetClock().Now(), [this] { StartNext(); }, source_);
    } else {
        LoseIfOver();
    }
}

void ConnectionRace::LoseIfOver() {
    if (!attempts_.empty() || next_ < order_.size()) return;
    const Lost lost = lost_;
    lost(lastErrorCode_ != 0 ? lastErrorCode_ : SocketError::NameNotResolved);
}

}  // namespace qv
