#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "foundation/Timer.h"
#include "http/HTTPSocket.h"
#include "support/Support.h"

namespace qv {
namespace {

// Time runs as the blocking wait reads the clock: half a second per reading.
class HTTPBlockingTest : public ::testing::Test {
protected:
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(server.Port()) + "/"; }
    double SecondsSince(std::int32_t startTicks) const { return TicksBetween(startTicks, Ticks(clock)) / 60.0; }

    test::SteppingClock clock{std::chrono::milliseconds(500)};
    RunLoop loop{clock};
    test::TcpListener server;
    test::TempDir dir;
    HTTPSocket http{loop, clock};
};

TEST_F(HTTPBlockingTest, TheTimeoutCountsFromTheLastSignOfLifeAndZeroMeansNone) {
    // Silence: -1 once the 30 s have passed. A trickle every 20 s: the page, long after.
    for (const std::int32_t trickleEvery : {0, 20000, 180000}) {
        int fd = -1;
        std::thread accepting([&] { fd = server.Accept(); });
        http.Yield = true;  // the loop, and so this timer, runs during the wait
        Timer trickle(loop);
        int pieces = 0;
        trickle.SetPeriod(std::max(trickleEvery, 1));
        trickle.onAction = [&] {
            trickle.SetMode(Timer::ModeSingle);  // once more a period later
            if (fd < 0) return;
            if (trickleEvery == 20000 && ++pieces <= 6) {
                test::WriteAll(fd, pieces == 1 ? "HTTP/1.0 200 OK\r\n\r\nx" : "x");
            } else {
                close(fd);
                fd = -1;
            }
        };
        if (trickleEvery > 0) trickle.SetMode(Timer::ModeSingle);
        const std::int32_t start = Ticks(clock);
        const String page = http.Get(String(Url()), trickleEvery == 180000 ? 0 : 30);
        accepting.join();
        EXPECT_EQ(page.Bytes(), trickleEvery == 20000 ? "xxxxxx" : "") << trickleEvery;
        EXPECT_EQ(http.ErrorCode(), trickleEvery == 0 ? -1 : 0) << trickleEvery;
        EXPECT_GE(SecondsSince(start), trickleEvery == 0 ? 30.0 : 120.0) << trickleEvery;
        if (fd >= 0) close(fd);
    }
}

TEST_F(HTTPBlockingTest, AFolderAsTheFileOfADownloadIsRefused) {
    // 1 from inside an asynchronous call; a blocking form's wait wipes it, and
    // the time-out's -1 is what is left.
    std::int32_t code = 0;
    http.events.Error = [&](std::int32_t c) { code = c; };
    http.Get(String(Url()), GetFolderItem(String(dir.Path())));
    EXPECT_EQ(code, 1);
    EXPECT_FALSE(http.Get(String(Url()), GetFolderItem(String(dir.Path())), 5));
    EXPECT_FALSE(http.Post(String(Url()), GetFolderItem(String(dir.Path())), 5));
    EXPECT_EQ(http.ErrorCode(), -1);
    // The headers of a first request that failed are nil.
    server.StopListening();
    HTTPSocket fresh(loop, clock);
    EXPECT_EQ(fresh.GetHeaders(String(Url()), 5), nullptr);
    EXPECT_EQ(fresh.ErrorCode(), 102);
}

}  // namespace
}  // namespace qv
