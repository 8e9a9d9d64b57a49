#include "foundation/Clock.h"

#include <gtest/gtest.h>

namespace qv {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

TEST(ClockTest, TicksCountSixtiethsOfASecondAndWrapAsSigned32Bits) {
    struct Case {
        Duration at;
        std::int32_t ticks;
    };
    const Case cases[] = {
        {Duration::zero(), 0},
        {nanoseconds(16'666'666), 0},  // just short of one tick
        {nanoseconds(16'666'667), 1},
        {seconds(1), 60},
        {seconds(1000) + nanoseconds(500'000'000), 60030},
        {seconds(35791394) + nanoseconds(116'666'667), 2147483647},  // 2^31 - 1 ticks
        {seconds(35791394) + nanoseconds(133'333'334), -2147483647 - 1},
    };
    for (const Case& c : cases) {
        ManualClock clock(c.at);
        EXPECT_EQ(Ticks(clock), c.ticks) << c.at.count();
    }
}

TEST(ClockTest, MicrosecondsFollowTheSameClock) {
    ManualClock clock(seconds(2));
    clock.Advance(nanoseconds(1500));
    EXPECT_DOUBLE_EQ(Microseconds(clock), 2'000'001.5);
}

TEST(ClockTest, SystemClockNeverGoesBack) {
    SystemClock clock;
    const Duration first = clock.Now();
    EXPECT_GE(clock.Now(), first);
    EXPECT_GT(first, Duration::zero());
}

}  // namespace
}  // namespace qv
