#pragma once

#include <chrono>
#include <functional>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"

namespace qv::test {

// A clock that moves on by `step` at every reading, so that code which waits
// by watching the clock (and nothing else) sees time pass at full speed.
// `onReading`, when set, runs at each reading: the world changing while the
// code under test goes on.
class SteppingClock final : public Clock {
public:
    explicit SteppingClock(Duration step, Duration start = std::chrono::hours(1)) : step_(step), now_(start) {}
    Duration Now() const override {
        if (onReading) onReading();
        return now_ += step_;
    }

    std::function<void()> onReading;

private:
    Duration step_;
    mutable Duration now_;
};

// Moves a manual clock forward to `until`, stopping at every timer due on the
// way, so timers fire in order exactly as they would have in real time.
void AdvanceTo(RunLoop& loop, ManualClock& clock, Duration until);
inline void AdvanceBy(RunLoop& loop, ManualClock& clock, Duration by) { AdvanceTo(loop, clock, clock.Now() + by); }

// Runs passes until `done` holds, waiting for descriptors at most `limit` of
// real time in all; false if it never held.
bool RunUntil(RunLoop& loop, const std::function<bool()>& done,
              std::chrono::milliseconds limit = std::chrono::milliseconds(3000));

}  // namespace qv::test
