#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <vector>

#include "foundation/Descriptor.h"
#include "foundation/RunLoop.h"
#include "foundation/SocketAddress.h"

namespace qv {

// Connects to one of a name's addresses as RFC 8305 ("Happy Eyeballs") has it:
// the two families taken in turn, starting with the family of the first
// address; the next attempt starts 250 ms after the one before it began, or at
// once when that one failed; the first connection that stands wins, and the
// others are closed. When none connects, the race is lost with the code of the
// attempt that failed last. With one address it is a plain connect. The first
// attempt starts inside the constructor; every outcome comes from the loop.
class ConnectionRace {
public:
    using Won = std::function<void(Descriptor connection)>;
    using Lost = std::function<void(std::int32_t lastErrorCode)>;

    static constexpr std::chrono::milliseconds kAttemptDelay{250};

    // The registrations carry `source` (the socket that connects). `won` and
    // `lost` may destroy the race.
    ConnectionRace(RunLoop& loop, RunLoop::SourceId source, const std::vector<SocketAddress>& addresses,
                   std::uint16_t port, Won won, Lost lost);
    ConnectionRace(const ConnectionRace&) = delete;
    ConnectionRace& operator=(const ConnectionRace&) = delete;

private:
    struct Attempt {
        Descriptor fd;
        RunLoop::Watch watch;       // while the connect is under way
        RunLoop::Pending outcome;   // or its outcome, when the connect call gave it at once
    };

    void StartNext();
    void Settle(std::list<Attempt>::iterator attempt);
    void Failed(std::list<Attempt>::iterator attempt, int error);
    void LoseIfOver();

    RunLoop& loop_;
    const RunLoop::SourceId source_;
    std::vector<SocketAddress> order_;
    std::size_t next_ = 0;
    std::list<Attempt> attempts_;
    RunLoop::Pending nextStart_;
    std::int32_t lastErrorCode_ = 0;
    Won won_;
    Lost lost_;
};

}  // namespace qv
