#include "foundation/Timer.h"

#include <algorithm>

namespace qv {

Timer::Timer(RunLoop& loop) : loop_(loop) {}

void Timer::SetMode(std::int32_t mode) {
    pending_.Reset();
    restEnd_.Reset();
    mode_ = (mode == ModeSingle || mode == ModeMultiple) ? mode : ModeOff;
    if (mode_ != ModeOff) Schedule(loop_.GetClock().Now() + PeriodDuration());
}

Duration Timer::PeriodDuration() const {
    return std::chrono::milliseconds(std::max<std::int32_t>(period_, 1));
}

void Timer::Schedule(TimePoint due) {
    due_ = due;
    pending_ = loop_.AddTimer(due, [this] { Fire(); });
}

void Timer::RestAfterHandler() {
    if (mode_ != ModeMultiple || restEnd_) return;
    // Runs behind the handler that asks, in the same pass or the next.
    restEnd_ = loop_.Post([this] { EndRest(); });
}

void Timer::EndRest() {
    restEnd_.Reset();
    const TimePoint now = loop_.GetClock().Now();
    if (!pending_ || due_ <= now) Schedule(now + PeriodDuration());
}

void Timer::Fire() {
    pending_.Reset();
    if (restEnd_) return;  // skipped: EndRest schedules the next
    if (mode_ == ModeSingle) {
        mode_ = ModeOff;
        if (onAction) onAction();
        return;
    }
    const TimePoint firedAt = loop_.GetClock().Now();
    Schedule(firedAt + PeriodDuration());
    // Also when the action throws: the timer keeps ticking, as it always has.
    struct AfterAction {
        Timer& timer;
        const TimePoint scheduled;
        ~AfterAction() {
            // A tick that fell due while the action ran is skipped, unless the
            // action itself set the timer anew.
            const TimePoint now = timer.loop_.GetClock().Now();
            if (timer.pending_ && timer.due_ == scheduled && scheduled <= now)
                timer.Schedule(now + timer.PeriodDuration());
        }
    } afterAction{*this, due_};
    if (onAction) onAction();
}

}  // namespace qv
