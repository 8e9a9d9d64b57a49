#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "foundation/Timer.h"
#include "http/HTTPSocket.h"
#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;

// Time runs as the blocking wait reads the clock: half a second per reading.
class HTTPBlockingTest : public ::testing::Test {
protected:
    std::string Url(const std::string& path = "/") const {
        return "http://127.0.0.1:" + std::to_string(server.Port()) + path;
    }
    double SecondsSince(std::int32_t startTicks) const { return TicksBetween(startTicks, Ticks(clock)) / 60.0; }
    // Takes the connection as soon as it comes, from another thread.
    std::thread AcceptInBackground(int& fd) {
        return std::thread([this, &fd] { fd = server.Accept(); });
    }

    test::SteppingClock clock{milliseconds(500)};
    RunLoop loop{clock};
    test::TcpListener server;
    test::TempDir dir;
    HTTPSocket http{loop, clock};
};

TEST_F(HTTPBlockingTest, AGetReturnsThePageWithoutEventsOrMinusOneAfterItsSilence) {
    int events = 0;
    http.events.PageReceived = [&](auto&&...) { ++events; };
    http.events.Connected = [&] { ++events; };
    std::thread serverSide([&] {
        const int fd = server.Accept();
        test::ReadAvailable(fd, 50);
        test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nblocking page");
        close(fd);
    });
    EXPECT_EQ(http.Get(String(Url()), 30).Bytes(), "blocking page");
    serverSide.join();
    EXPECT_EQ(http.ErrorCode(), 0);
    EXPECT_EQ(events, 0);

    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    const std::int32_t start = Ticks(clock);
    EXPECT_TRUE(http.Get(String(Url()), 30).IsEmpty());
    accepting.join();
    EXPECT_EQ(http.ErrorCode(), -1);
    EXPECT_FALSE(http.IsConnected());
    EXPECT_GE(SecondsSince(start), 30.0);
    EXPECT_LT(SecondsSince(start), 40.0);
    close(fd);
}

TEST_F(HTTPBlockingTest, SignsOfLifeRenewTheTimeoutAndZeroMeansNone) {
    for (const std::int32_t timeout : {30, 0}) {
        SCOPED_TRACE(timeout);
        int fd = -1;
        std::thread accepting = AcceptInBackground(fd);
        http.Yield = true;  // the loop, and so this timer, runs during the wait
        Timer trickle(loop);
        int pieces = 0;
        trickle.SetPeriod(timeout > 0 ? 20000 : 180000);
        trickle.onAction = [&] {
            trickle.SetMode(Timer::ModeSingle);  // once more a period later
            if (fd < 0) return;
            if (timeout > 0 && ++pieces <= 6) {
                test::WriteAll(fd, pieces == 1 ? "HTTP/1.0 200 OK\r\n\r\nx" : "x");
            } else {
                close(fd);
                fd = -1;
            }
        };
        trickle.SetMode(Timer::ModeSingle);
        const std::int32_t start = Ticks(clock);
        const String page = http.Get(String(Url()), timeout);
        accepting.join();
        EXPECT_EQ(page.Bytes(), timeout > 0 ? "xxxxxx" : "");
        EXPECT_EQ(http.ErrorCode(), 0) << "ended by the close, not by a time-out";
        EXPECT_GT(SecondsSince(start), 120.0) << "far beyond the 30 s of a single wait";
    }
}

TEST_F(HTTPBlockingTest, ADownloadEmptiesItsFileFirstAndARefusedFileReportsOne) {
    const std::string path = dir.File("download.bin");
    std::ofstream(path) << "old content";
    std::string completed;
    http.events.DownloadComplete = [&](const String& url, std::int32_t status, const HTTPSocket::Headers&,
                                       const std::shared_ptr<FolderItem>& done) {
        completed = std::string(url.Bytes()) + " " + std::to_string(status) + " " + std::string(done->Name().Bytes());
    };
    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    http.Get(String(Url("/file")), GetFolderItem(String(path)));
    const auto contents = [&] {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    EXPECT_EQ(contents(), "") << "emptied before any connection";
    accepting.join();
    test::WriteAll(fd, std::string("HTTP/1.0 200 OK\r\n\r\nbinary\0body", 30));
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return !completed.empty(); }));
    EXPECT_EQ(completed, Url("/file") + " 200 download.bin");
    EXPECT_EQ(contents(), std::string("binary\0body", 11));

    // A folder as the file: 1 from inside the call; under a blocking form the
    // wait wipes it, and the time-out's -1 is what is left.
    std::int32_t code = 0;
    http.events.Error = [&](std::int32_t c) { code = c; };
    http.Get(String(Url()), GetFolderItem(String(dir.Path())));
    EXPECT_EQ(code, 1);
    EXPECT_FALSE(http.Get(String(Url()), GetFolderItem(String(dir.Path())), 5));
    EXPECT_EQ(http.ErrorCode(), -1);
    EXPECT_FALSE(http.Post(String(Url()), GetFolderItem(String(dir.Path())), 5));
    // The headers of a first request that failed are nil.
    server.StopListening();
    HTTPSocket fresh(loop, clock);
    EXPECT_EQ(fresh.GetHeaders(String(Url()), 5), nullptr);
    EXPECT_EQ(fresh.ErrorCode(), 102);
}

}  // namespace
}  // namespace qv
