#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "foundation/Timer.h"
#include "http/HTTPSocket.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

using std::chrono::milliseconds;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Time runs as the blocking wait reads the clock: half a second per reading.
class HTTPBlockingTest : public ::testing::Test {
protected:
    std::string Url(const std::string& path = "/") const {
        return "http://127.0.0.1:" + std::to_string(server.Port()) + path;
    }
    double SecondsSince(std::int32_t startTicks) const { return (Ticks(clock) - startTicks) / 60.0; }
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

TEST_F(HTTPBlockingTest, BlockingGetReturnsThePageAndRaisesNoEvent) {
    int events = 0;
    http.events.PageReceived = [&](auto&&...) { ++events; };
    http.events.Connected = [&] { ++events; };
    std::thread serverSide([&] {
        const int fd = server.Accept();
        test::ReadAvailable(fd, 50);
        test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nblocking page");
        close(fd);
    });
    const String page = http.Get(String(Url()), 30);
    serverSide.join();
    EXPECT_EQ(page.Bytes(), "blocking page");
    EXPECT_EQ(http.ErrorCode(), 0);
    EXPECT_EQ(events, 0);
}

TEST_F(HTTPBlockingTest, SilenceEndsTheWaitAfterTheTimeoutWithMinusOne) {
    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    const std::int32_t start = Ticks(clock);
    const String page = http.Get(String(Url()), 30);
    accepting.join();
    EXPECT_TRUE(page.IsEmpty());
    EXPECT_EQ(http.ErrorCode(), -1);
    EXPECT_FALSE(http.IsConnected());
    EXPECT_GE(SecondsSince(start), 30.0);
    EXPECT_LT(SecondsSince(start), 40.0);
    close(fd);
}

TEST_F(HTTPBlockingTest, SignsOfLifeRenewTheTimeout) {
    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    http.Yield = true;  // the loop, and so this timer, runs during the wait
    Timer trickle(loop);
    int pieces = 0;
    trickle.SetPeriod(20000);
    trickle.onAction = [&] {
        trickle.SetMode(Timer::ModeSingle);  // once more in 20 s
        if (fd < 0) return;
        if (pieces == 0) test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n");
        if (++pieces <= 6) {
            test::WriteAll(fd, "x");
        } else {
            close(fd);
            fd = -1;
        }
    };
    trickle.SetMode(Timer::ModeSingle);
    const std::int32_t start = Ticks(clock);
    const String page = http.Get(String(Url()), 30);
    accepting.join();
    EXPECT_EQ(page.Bytes(), "xxxxxx");
    EXPECT_EQ(http.ErrorCode(), 0);
    EXPECT_GT(SecondsSince(start), 120.0) << "far beyond the 30 s of a single wait";
}

TEST_F(HTTPBlockingTest, ATimeoutOfZeroNeverEndsTheWaitByItself) {
    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    http.Yield = true;
    Timer bound(loop);
    bound.SetPeriod(180000);  // three minutes: then the server closes
    bound.onAction = [&] {
        if (fd >= 0) close(fd);
        fd = -1;
    };
    bound.SetMode(Timer::ModeSingle);
    const std::int32_t start = Ticks(clock);
    http.Get(String(Url()), 0);
    accepting.join();
    EXPECT_GE(SecondsSince(start), 180.0);
    EXPECT_EQ(http.ErrorCode(), 0) << "ended by the close, not by a time-out";
}

TEST_F(HTTPBlockingTest, ARefusedDownloadFileUnderABlockingFormEndsInMinusOne) {
    const auto folder = GetFolderItem(String(dir.Path()));
    EXPECT_FALSE(http.Get(String(Url()), folder, 5));
    EXPECT_EQ(http.ErrorCode(), -1) << "the refusal's 1 is wiped by the wait";
}

TEST_F(HTTPBlockingTest, BlockingHeadersOfAFailedFirstRequestAreNil) {
    server.StopListening();
    EXPECT_EQ(http.GetHeaders(String(Url()), 5), nullptr);
    EXPECT_EQ(http.ErrorCode(), 102);
}

TEST_F(HTTPBlockingTest, ADownloadEmptiesItsFileBeforeConnectingAndFillsItWithTheBody) {
    const std::string path = dir.File("download.bin");
    std::ofstream(path) << "old content";
    const auto file = GetFolderItem(String(path));

    std::string completed;
    http.events.DownloadComplete = [&](const String& url, std::int32_t status, const HTTPSocket::Headers&,
                                       const std::shared_ptr<FolderItem>& done) {
        completed = std::string(url.Bytes()) + " " + std::to_string(status) + " " + std::string(done->Name().Bytes());
    };
    int fd = -1;
    std::thread accepting = AcceptInBackground(fd);
    http.Get(String(Url("/file")), file);
    EXPECT_EQ(ReadFile(path), "") << "emptied before any connection";
    accepting.join();
    test::WriteAll(fd, std::string("HTTP/1.0 200 OK\r\n\r\nbinary\0body", 30));
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return !completed.empty(); }));
    EXPECT_EQ(completed, Url("/file") + " 200 download.bin");
    EXPECT_EQ(ReadFile(path), std::string("binary\0body", 11));
}

TEST_F(HTTPBlockingTest, AnAsynchronousRefusedFileReportsOneFromInsideTheCall) {
    std::int32_t code = 0;
    http.events.Error = [&](std::int32_t c) { code = c; };
    http.Get(String(Url()), GetFolderItem(String(dir.Path())));
    EXPECT_EQ(code, 1);
}

}  // namespace
}  // namespace qv
