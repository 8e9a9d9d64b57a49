#include "support/LoopDriver.h"

namespace qv::test {

void AdvanceTo(RunLoop& loop, ManualClock& clock, Duration until) {
    loop.RunOnce(Duration::zero());
    while (!loop.IsQuitting()) {
        const auto due = loop.NextTimerDue();
        if (!due || *due > until) break;
        if (*due > clock.Now()) clock.Set(*due);
        loop.RunOnce(Duration::zero());
    }
    if (clock.Now() < until) clock.Set(until);
    loop.RunOnce(Duration::zero());
}

bool RunUntil(RunLoop& loop, const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero() || loop.IsQuitting()) return done();
        loop.RunOnce(std::min<Duration>(left, std::chrono::milliseconds(20)));
    }
    return true;
}

}  // namespace qv::test
