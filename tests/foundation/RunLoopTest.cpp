#include "foundation/RunLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "foundation/Exceptions.h"
#include "foundation/Timer.h"

namespace qv {
namespace {

class RunLoopTest : public ::testing::Test {
protected:
    ManualClock clock;
    RunLoop loop{clock};
};

TEST_F(RunLoopTest, CallsPostedDuringAPassWaitForTheNextPass) {
    std::string order;
    loop.Post([&] {
        order += 'a';
        loop.Post([&] { order += 'c'; });
    });
    loop.Post([&] { order += 'b'; });
    loop.RunOnce(Duration::zero());
    EXPECT_EQ(order, "ab");
    loop.RunOnce(Duration::zero());
    EXPECT_EQ(order, "abc");
}

TEST_F(RunLoopTest, ReadyDescriptorIsDeliveredAndARemovedWatchIsNot) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    int firstCalls = 0, secondCalls = 0;
    RunLoop::WatchId second = 0;
    loop.AddWatch(fds[0], POLLIN, [&](short) {
        ++firstCalls;
        loop.RemoveWatch(second);  // removed while its readiness is already known
    });
    second = loop.AddWatch(fds[0], POLLIN, [&](short) { ++secondCalls; });
    ASSERT_EQ(write(fds[1], "x", 1), 1);
    loop.RunOnce(std::chrono::milliseconds(100));
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(secondCalls, 0);
    close(fds[0]);
    close(fds[1]);
}

TEST_F(RunLoopTest, AnExceptionLeavingAHandlerIsReportedAndTheLoopGoesOn) {
    int reported = 0;
    loop.SetUnhandledExceptionHandler([&](std::exception_ptr) { ++reported; });
    bool laterCallRan = false;
    loop.Post([] { throw NilObjectException(); });
    loop.Post([&] { laterCallRan = true; });
    loop.RunOnce(Duration::zero());
    EXPECT_EQ(reported, 1);
    EXPECT_TRUE(laterCallRan);
    EXPECT_FALSE(loop.IsQuitting());
}

TEST_F(RunLoopTest, QuitUnwindingStopsThePassAndKeepsTheStatus) {
    bool laterCallRan = false;
    loop.Post([&] {
        loop.Quit(0);
        throw EndException();
    });
    loop.Post([&] { laterCallRan = true; });
    loop.Run();  // returns: the loop has stopped
    EXPECT_TRUE(loop.IsQuitting());
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_FALSE(laterCallRan);
}

TEST_F(RunLoopTest, WaitIsBoundedByTheNextTimerOnTheClock) {
    // With a timer due now and nothing else, a pass must not block in poll.
    Timer timer(loop);
    timer.SetPeriod(1);
    timer.SetMode(Timer::ModeSingle);
    bool fired = false;
    timer.onAction = [&] { fired = true; };
    clock.Advance(std::chrono::milliseconds(1));
    loop.RunOnce(std::nullopt);
    EXPECT_TRUE(fired);
}

}  // namespace
}  // namespace qv
