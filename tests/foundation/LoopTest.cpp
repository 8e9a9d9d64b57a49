#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/DebugLog.h"
#include "foundation/Exceptions.h"
#include "foundation/RunLoop.h"
#include "foundation/SignalWatch.h"
#include "foundation/Timer.h"
#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

TEST(ClockTest, TicksCountSixtiethsOfASecondAndWrapAsSigned32Bits) {
    const std::pair<Duration, std::int32_t> cases[] = {
        {nanoseconds(16'666'666), 0}, {nanoseconds(16'666'667), 1}, {seconds(1000) + milliseconds(500), 60030},
        {seconds(35791394) + nanoseconds(116'666'667), INT32_MAX}, {seconds(35791394) + nanoseconds(133'333'334), INT32_MIN}};
    for (const auto& [at, ticks] : cases) EXPECT_EQ(Ticks(ManualClock(TimePoint(at))), ticks) << at.count();
    EXPECT_EQ(TicksBetween(INT32_MAX, INT32_MIN), 1) << "across the wrap";
    EXPECT_EQ(TicksAfter(INT32_MAX, 60), INT32_MIN + 59);
    EXPECT_DOUBLE_EQ(Microseconds(ManualClock(TimePoint(seconds(2) + nanoseconds(1500)))), 2'000'001.5);
}

class LoopTest : public ::testing::Test {
protected:
    // A timer's firings counted at each of the given instants from now.
    std::vector<int> FiringsAt(Timer& timer, const std::vector<milliseconds>& instants) {
        int fired = 0;
        timer.onAction = [&] { ++fired; };
        const TimePoint start = clock.Now();
        std::vector<int> counts;
        for (milliseconds at : instants) {
            test::AdvanceTo(loop, clock, start + at);
            counts.push_back(fired);
        }
        return counts;
    }
    ManualClock clock;
    RunLoop loop{clock};
};

TEST_F(LoopTest, APassRunsReadyWatchesThenCallsPostedBeforeItAndSurvivesExceptions) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::string order;
    RunLoop::Watch second;
    RunLoop::Watch first = loop.AddWatch(fds[0], POLLIN, [&](short) {
        char byte;
        EXPECT_EQ(read(fds[0], &byte, 1), 1);
        order += 'w';
        second.Reset();  // removed while its readiness is already known
    });
    second = loop.AddWatch(fds[0], POLLIN, [&](short) { order += 'X'; });
    RunLoop::Pending a = loop.Post([&] {
        order += 'a';
        static_cast<void>(loop.Post([&] { order += 'X'; }));  // a handle dropped at once cancels its call
        throw std::runtime_error("boom");
    });
    RunLoop::Pending c;
    RunLoop::Pending b = loop.Post([&] {
        order += 'b';
        c = loop.Post([&] { order += 'c'; });
    });
    RunLoop::Pending cancelled = loop.Post([&] { order += 'X'; });
    RunLoop::Pending timer = loop.AddTimer(clock.Now(), [&] { order += 'X'; });
    {
        RunLoop::Pending moved = std::move(cancelled);
        timer = RunLoop::Pending();
    }
    ASSERT_EQ(write(fds[1], "x", 1), 1);
    std::vector<std::string> logged;
    System::ScopedDebugLogSink sink([&](const String& line) { logged.emplace_back(line.Bytes()); });
    loop.RunOnce(milliseconds(100));
    EXPECT_EQ(order, "wab");
    EXPECT_EQ(logged, std::vector<std::string>{"QVAssistant: unhandled exception: boom"});
    loop.RunOnce(Duration::zero());
    EXPECT_EQ(order, "wabc");
    first.Reset();
    close(fds[0]);
    close(fds[1]);

    // Stop's unwinding ends the pass and keeps the status.
    RunLoop::Pending stop = loop.Post([&] {
        loop.Stop(0);
        throw EndException();
    });
    RunLoop::Pending after = loop.Post([&] { order += 'X'; });
    loop.Run();
    EXPECT_TRUE(loop.Stopping());
    EXPECT_EQ(order, "wabc");
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_EQ(logged.size(), 1u);
}

TEST_F(LoopTest, TimersFireNeverOnceOrEveryPeriodInOrderOfTheirDueTime) {
    const std::pair<std::int32_t, std::vector<int>> modes[] = {
        {Timer::ModeOff, {0, 0, 0, 0}}, {Timer::ModeSingle, {0, 1, 1, 1}}, {Timer::ModeMultiple, {0, 1, 2, 10}}};
    for (const auto& [mode, expected] : modes) {
        Timer timer(loop);
        timer.SetPeriod(1000);
        timer.SetMode(mode);
        EXPECT_EQ(FiringsAt(timer, {milliseconds(999), milliseconds(1000), milliseconds(2500), milliseconds(10000)}),
                  expected)
            << "mode " << mode;
    }
    // Setting a mode again restarts the period; a single shot reads off during its action.
    Timer watchdog(loop);
    watchdog.SetPeriod(60000);
    watchdog.SetMode(Timer::ModeSingle);
    test::AdvanceBy(loop, clock, seconds(50));
    watchdog.SetMode(Timer::ModeSingle);
    std::int32_t modeInAction = -1;
    EXPECT_EQ(FiringsAt(watchdog, {milliseconds(59999), milliseconds(60000)}), (std::vector<int>{0, 1}));
    watchdog.onAction = [&] { modeInAction = watchdog.Mode(); };
    watchdog.SetMode(Timer::ModeSingle);
    test::AdvanceBy(loop, clock, seconds(60));
    EXPECT_EQ(modeInAction, Timer::ModeOff);
    // Switched off while due but not yet delivered: it never fires.
    watchdog.SetMode(Timer::ModeMultiple);
    clock.Advance(seconds(61));
    watchdog.SetMode(Timer::ModeOff);
    EXPECT_EQ(FiringsAt(watchdog, {seconds(200)}), (std::vector<int>{0}));

    std::string order;
    Timer slow(loop), fast(loop), mid(loop);
    for (auto [timer, period, mark] : {std::tuple{&slow, 3000, 's'}, {&mid, 2000, 'm'}, {&fast, 1000, 'f'}}) {
        timer->SetPeriod(period);
        timer->onAction = [&order, mark = mark] { order += mark; };
        timer->SetMode(mark == 's' ? Timer::ModeSingle : Timer::ModeMultiple);
    }
    test::AdvanceBy(loop, clock, milliseconds(4500));
    EXPECT_EQ(order, "fmfsfmf");
    clock.Advance(milliseconds(500));
    loop.RunOnce(std::nullopt);  // due now: a pass with no limit of its own must not block
    EXPECT_EQ(order, "fmfsfmff");
}

TEST_F(LoopTest, ARepeatingTickComesLateRatherThanNeverButNeverWithinAPeriodOfTheOneBefore) {
    // A descriptor that is always ready, as a steady stream of frames is, whose
    // handler takes `busy` of the clock each time: the loop never waits.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], "x", 1), 1);
    const struct {
        const char* what;
        milliseconds busy;              // per pass of the stream; none when zero
        milliseconds ownAction;         // what the first action takes
        std::optional<milliseconds> restAt;  // a handler that ends a command runs 200 ms from here
        std::vector<milliseconds> expected;
    } cases[] = {
        {"a stream keeps the loop busy", milliseconds(300), {}, {}, {milliseconds(2100), milliseconds(4200), milliseconds(6300), milliseconds(8400)}},
        {"its own action runs up to the next tick", {}, milliseconds(2000), {}, {milliseconds(2000), milliseconds(6000), milliseconds(8000)}},
        {"a handler that ends a command runs over the tick", {}, {}, milliseconds(1900), {milliseconds(4100), milliseconds(6100), milliseconds(8100)}},
        {"that handler ends before the tick", {}, {}, milliseconds(1000), {milliseconds(2000), milliseconds(4000), milliseconds(6000), milliseconds(8000)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Timer timer(loop);
        timer.SetPeriod(2000);
        timer.SetMode(Timer::ModeMultiple);
        const TimePoint start = clock.Now();
        std::vector<milliseconds> firedAt;
        timer.onAction = [&] {
            firedAt.push_back(std::chrono::duration_cast<milliseconds>(clock.Now() - start));
            if (firedAt.size() == 1) clock.Advance(c.ownAction);
        };
        if (c.busy > milliseconds(0)) {
            RunLoop::Watch stream = loop.AddWatch(fds[0], POLLIN, [&](short) { clock.Advance(c.busy); });
            while (clock.Now() < start + milliseconds(9000)) loop.RunOnce(Duration::zero());
        } else {
            if (c.restAt) {
                test::AdvanceTo(loop, clock, start + *c.restAt);
                RunLoop::Pending ending = loop.Post([&] {
                    clock.Advance(milliseconds(200));
                    timer.RestAfterHandler();
                });
                loop.RunOnce(Duration::zero());
            }
            test::AdvanceTo(loop, clock, start + milliseconds(9000));
        }
        EXPECT_EQ(firedAt, c.expected);
    }
    close(fds[0]);
    close(fds[1]);
}

TEST_F(LoopTest, AwaitDeliversOnlyTheUrgentAndPumpDeliversOneSourceAlone) {
    int own[2], other[2], urgent[2];
    ASSERT_TRUE(pipe(own) == 0 && pipe(other) == 0 && pipe(urgent) == 0);
    std::string order;
    const RunLoop::SourceId sources[] = {loop.NewSource()};
    // Registered first, so that it also comes first in the wait's list.
    RunLoop::Watch a = loop.AddWatch(own[0], POLLIN, [&](short) { order += 'o'; }, sources[0]);
    RunLoop::Watch b = loop.AddWatch(other[0], POLLIN, [&](short) { order += 'x'; });
    RunLoop::Watch c = loop.AddUrgentWatch(urgent[0], POLLIN, [&](short) { order += 'u'; });
    for (const int fd : {own[1], other[1]}) ASSERT_EQ(write(fd, "1", 1), 1);
    loop.Await(sources, seconds(5));
    EXPECT_EQ(order, "") << "its own are the caller's to deliver";
    ASSERT_EQ(write(urgent[1], "1", 1), 1);
    loop.Await(sources, seconds(5));
    loop.Pump(sources[0]);
    EXPECT_EQ(order, "uo");
    for (const int fd : {own[0], own[1], other[0], other[1], urgent[0], urgent[1]}) close(fd);
}

TEST_F(LoopTest, SignalsArriveAsLoopEventsOnceEachInOrder) {
    std::vector<int> seen;
    {
        SignalWatch watch(loop, {SIGINT, SIGUSR1}, [&](int signal) { seen.push_back(signal); });
        for (const int signal : {SIGUSR1, SIGINT, SIGUSR1}) std::raise(signal);
        EXPECT_TRUE(seen.empty()) << "the handler itself must not run the callback";
        loop.RunOnce(milliseconds(100));
        loop.RunOnce(milliseconds(10));
        EXPECT_EQ(seen, (std::vector<int>{SIGUSR1, SIGINT, SIGUSR1}));
        EXPECT_THROW(SignalWatch(loop, {SIGUSR2}, [](int) {}), std::logic_error) << "one watch at a time";
    }
    struct sigaction now {};
    sigaction(SIGUSR1, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL) << "restored when the watch goes";
}

}  // namespace
}  // namespace qv
