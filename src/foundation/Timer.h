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
    // fires every period, and never twice within one period: a tick that other
    // handlers made late fires as soon as the loop has delivered them, and
    // the next comes one period after it. A tick that falls due while the
    // timer's own action still runs (a copy inside the dispatcher's tick) is
    // skipped, and the next comes one period after the action returned.
    // Setting either mode (re)starts the period from now; any other value
    // stops the timer.
    void SetMode(std::int32_t mode);

    std::int32_t Period() const { return period_; }
    // Milliseconds; takes effect at the next start. Below 1 counts as 1.
    void SetPeriod(std::int32_t milliseconds) { period_ = milliseconds; }

    // For a handler that ends what the timer's ticks start (a fetch that
    // delivered its page): a tick that is due by the time that handler has
    // returned is skipped, and the next comes one period after it, so that
    // nothing is started right on the end of what ended.
    void RestAfterHandler();

    std::function<void()> onAction;

private:
    Duration PeriodDuration() const;
    void Schedule(TimePoint due);
    void Fire();
    void EndRest();

    RunLoop& loop_;
    std::int32_t mode_ = ModeOff;
    std::int32_t period_ = 1000;
    TimePoint due_{};
    RunLoop::Pending pending_;
    // While set, a tick that falls due is skipped; EndRest, posted behind the
    // resting handler, schedules the next.
    RunLoop::Pending restEnd_;
};

}  // namespace qv
