#include "foundation/Timer.h"

#include <algorithm>

namespace qv {

Timer::Timer(RunLoop& loop) : loop_(loop) {}

void Timer::SetMode(std::int32_t mode) {
    pending_.Reset();
    mode_ = (mode == ModeSingle || mode == ModeMultiple) ? mode : ModeOff;
    if (mode_ != ModeOff) Schedule(loop_.GetClock().Now() + PeriodDuration());
}

Duration Timer::PeriodDuration() const {
    return std::chrono::milliseconds(std::max<std::int32_t>(period_, 1));
}

void Timer::Schedule(TimePoint due) {
    pending_ = loop_.AddTimer(due, [this, due] { Fire(due); });
}

void Timer::Fire(TimePoint due) {
    if (mode_ == ModeSingle) {
        mode_ = ModeOff;
    } else if (!loop_.WasWaitingAt(due)) {
        // The tick fell due while a handler ran (this timer's own, such as a
        // copy, or any other): it is dropped, and the next one comes a full
        // period after the handler returned, never right on its end.
        Schedule(loop_.GetClock().Now() + PeriodDuration());
        return;
    } else {
        Schedule(due + PeriodDuration());
    }
    if (onAction) onAction();
}

}  // namespace qv
