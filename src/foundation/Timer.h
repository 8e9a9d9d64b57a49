#pragma once

#include <cstdint>
#include <functional>

#include "foundation/RunLoop.h"

namespace qv {

// A timer on the run loop's clock. Its action runs from the loop, never from
// inside another handler and never from Poll.
class Timer {
public:
    enum : std::int32_t { ModeOff = 0, ModeSingle = 1, ModeMultiple = 2 };

    explicit Timer(RunLoop& loop);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    std::int32_t Mode() const { return mode_; }
    // Single fires once, one period from now, and falls back to off. Multiple
    // fires every period while the loop waits; a tick that falls due while a
    // handler runs (its own or any other) is dropped, and the next comes a
    // full period after that handler returned. Setting either (re)starts the
    // period from now; any other value stops the timer.
    void SetMode(std::int32_t mode);

    std::int32_t Period() const { return period_; }
    // Milliseconds; takes effect at the next start. Below 1 counts as 1.
    void SetPeriod(std::int32_t milliseconds) { period_ = milliseconds; }

    std::function<void()> onAction;

private:
    Duration PeriodDuration() const;
    void Schedule(TimePoint due);
    void Fire(TimePoint due);

    RunLoop& loop_;
    std::int32_t mode_ = ModeOff;
    std::int32_t period_ = 1000;
    RunLoop::Pending pending_;
};

}  // namespace qv
