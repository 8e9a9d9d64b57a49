#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <vector>

#include "foundation/RunLoop.h"
#include "foundation/SignalWatch.h"

namespace qv {
namespace {

TEST(SignalWatchTest, SignalsArriveAsLoopEventsOnceEachInOrder) {
    ManualClock clock;
    RunLoop loop(clock);
    std::vector<int> seen;
    {
        SignalWatch watch(loop, {SIGINT, SIGUSR1}, [&](int signal) { seen.push_back(signal); });
        std::raise(SIGUSR1);
        std::raise(SIGINT);
        std::raise(SIGUSR1);
        EXPECT_TRUE(seen.empty()) << "the handler itself must not run the callback";
        loop.RunOnce(std::chrono::milliseconds(100));
        EXPECT_EQ(seen, (std::vector<int>{SIGUSR1, SIGINT, SIGUSR1}));
        loop.RunOnce(std::chrono::milliseconds(10));
        EXPECT_EQ(seen.size(), 3u) << "each signal is delivered once";
    }
    for (const int signal : {SIGINT, SIGUSR1}) {
        struct sigaction now {};
        sigaction(signal, nullptr, &now);
        EXPECT_EQ(now.sa_handler, SIG_DFL) << signal;
    }
}

}  // namespace
}  // namespace qv
