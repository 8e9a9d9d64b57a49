#include "foundation/Timer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/LoopDriver.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class TimerTest : public ::testing::Test {
protected:
    ManualClock clock;
    RunLoop loop{clock};

    // Counts the firings of a timer at each of the given instants since start.
    std::vector<int> FiringsAt(Timer& timer, const std::vector<milliseconds>& instants) {
        int fired = 0;
        timer.onAction = [&] { ++fired; };
        const Duration start = clock.Now();
        std::vector<int> counts;
        for (milliseconds at : instants) {
            test::AdvanceTo(loop, clock, start + at);
            counts.push_back(fired);
        }
        return counts;
    }
};

TEST_F(TimerTest, ModesFireNeverOnceOrEveryPeriod) {
    struct Case {
        std::int32_t mode;
        std::vector<int> expected;  // firings at 999, 1000, 2500, 10000 ms
    };
    for (const Case& c : {Case{Timer::ModeOff, {0, 0, 0, 0}}, Case{Timer::ModeSingle, {0, 1, 1, 1}},
                          Case{Timer::ModeMultiple, {0, 1, 2, 10}}}) {
        Timer timer(loop);
        timer.SetPeriod(1000);
        timer.SetMode(c.mode);
        EXPECT_EQ(FiringsAt(timer, {milliseconds(999), milliseconds(1000), milliseconds(2500), milliseconds(10000)}),
                  c.expected)
            << "mode " << c.mode;
    }
}

TEST_F(TimerTest, SingleShotFallsBackToOffAfterFiring) {
    Timer timer(loop);
    timer.SetPeriod(500);
    timer.SetMode(Timer::ModeSingle);
    std::int32_t modeDuringAction = -1;
    timer.onAction = [&] { modeDuringAction = timer.Mode(); };
    test::AdvanceBy(loop, clock, seconds(1));
    EXPECT_EQ(modeDuringAction, Timer::ModeOff);
    EXPECT_EQ(timer.Mode(), Timer::ModeOff);
}

TEST_F(TimerTest, SixtySecondWatchdogFiresAtSixtySecondsNotBefore) {
    Timer watchdog(loop);
    watchdog.SetPeriod(60000);
    watchdog.SetMode(Timer::ModeSingle);
    EXPECT_EQ(FiringsAt(watchdog, {milliseconds(59999), milliseconds(60000), milliseconds(180000)}),
              (std::vector<int>{0, 1, 1}));
}

TEST_F(TimerTest, SwitchingOffADueTimerStopsIt) {
    Timer timer(loop);
    timer.SetPeriod(100);
    timer.SetMode(Timer::ModeMultiple);
    int fired = 0;
    timer.onAction = [&] { ++fired; };
    clock.Advance(milliseconds(150));  // due, not yet delivered
    timer.SetMode(Timer::ModeOff);
    test::AdvanceBy(loop, clock, seconds(5));
    EXPECT_EQ(fired, 0);
}

TEST_F(TimerTest, SettingTheModeAgainRestartsThePeriod) {
    Timer timer(loop);
    timer.SetPeriod(60000);
    timer.SetMode(Timer::ModeSingle);
    int fired = 0;
    timer.onAction = [&] { ++fired; };
    test::AdvanceBy(loop, clock, seconds(50));
    timer.SetMode(Timer::ModeSingle);
    test::AdvanceBy(loop, clock, seconds(59));
    EXPECT_EQ(fired, 0);
    test::AdvanceBy(loop, clock, seconds(1));
    EXPECT_EQ(fired, 1);
}

TEST_F(TimerTest, TimersFireInOrderOfTheirDueTime) {
    std::string order;
    Timer slow(loop), fast(loop), mid(loop);
    slow.SetPeriod(3000);
    fast.SetPeriod(1000);
    mid.SetPeriod(2000);
    slow.onAction = [&] { order += 's'; };
    fast.onAction = [&] { order += 'f'; };
    mid.onAction = [&] { order += 'm'; };
    slow.SetMode(Timer::ModeSingle);
    mid.SetMode(Timer::ModeMultiple);
    fast.SetMode(Timer::ModeMultiple);
    test::AdvanceBy(loop, clock, milliseconds(4500));
    EXPECT_EQ(order, "fmfsfmf");
}

TEST_F(TimerTest, ATickDueWhileAHandlerRunsIsDroppedAndTheNextComesAFullPeriodAfterIt) {
    // A copy inside the timer's own action, or another handler that holds the
    // loop: either way no tick may come right on the end of the long handler.
    for (const bool ownHandler : {true, false}) {
        SCOPED_TRACE(ownHandler ? "its own handler ran long" : "another handler ran long");
        Timer timer(loop);
        timer.SetPeriod(2000);
        timer.SetMode(Timer::ModeMultiple);
        const Duration start = clock.Now();
        std::vector<Duration> firedAt;
        timer.onAction = [&] {
            firedAt.push_back(clock.Now() - start);
            if (ownHandler && firedAt.size() == 1) clock.Advance(milliseconds(4500));
        };
        if (!ownHandler) {
            clock.Advance(milliseconds(6500));  // the loop was busy, not waiting, at 2 s
            loop.RunOnce(Duration::zero());
        }
        test::AdvanceTo(loop, clock, start + seconds(12));
        const std::vector<Duration> expected =
            ownHandler ? std::vector<Duration>{seconds(2), milliseconds(8500), milliseconds(10500)}
                       : std::vector<Duration>{milliseconds(8500), milliseconds(10500)};
        EXPECT_EQ(firedAt, expected);
    }
}

}  // namespace
}  // namespace qv
