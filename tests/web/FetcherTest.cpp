#include "web/Fetcher.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/RecordingSink.h"
#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Command;
using Replies = std::vector<std::string>;

// The fetcher with a channel that keeps its reports, a dispatcher of its own
// that counts its ticks, and a plain server on 127.0.0.1 that the test scripts.
class FetcherTest : public ::testing::Test {
protected:
    FetcherTest() {
        dispatcher.SetPeriod(2000);
        dispatcher.onAction = [this] { ticks.push_back(clock.Now()); };
        dispatcher.SetMode(Timer::ModeMultiple);
    }
    // The command's branch of processCommand, as the dispatcher starts it.
    void Start(const char* word, std::initializer_list<Field> fields) {
        command.CommandStr = word;
        command.isCommandInProgress = true;
        fetcher.startFetch(String(Command(fields)));
    }
    // The server's side of the fetch just started, once the socket has
    // connected and so written its request, with the request it got.
    int Accept(std::string* request = nullptr) {
        EXPECT_TRUE(test::RunUntil(loop, [&] { return fetcher.RSSTCPSocket.IsConnected(); }));
        int fd = -1;
        EXPECT_TRUE(test::RunUntil(loop, [&] { return (fd = server.Accept(0)) >= 0; }));
        const std::string got = test::ReadAvailable(fd, 50);
        if (request) *request = got;
        return fd;
    }
    // The server answers `response` and closes; the reports that come of it.
    Replies Answer(const std::string& response, std::string* request = nullptr) {
        const int fd = Accept(request);
        test::WriteAll(fd, response);
        close(fd);
        test::RunUntil(loop, [&] { return !sink.Empty(); });
        return sink.Take();
    }
    std::string Opening(const std::string& word, const std::string& url) const {
        return "Response: " + word + "\r\nHTTPURL: " + url + "\r\n";
    }
    bool WatchdogOn() const { return fetcher.SocketTimeoutTimer.Mode() != Timer::ModeOff; }

    ManualClock clock;
    RunLoop loop{clock};
    CommandState command;
    test::RecordingSink sink;
    Timer dispatcher{loop};
    std::vector<TimePoint> ticks;
    Fetcher fetcher{loop, clock, command, sink, dispatcher};
    test::TcpListener server;
};

TEST_F(FetcherTest, PagesHeadersAndNewsAreReportedByteForByteAndFreeTheQueue) {
    const std::string body("<html>\0\xff\r\n\r\nend", 15);
    Start("GetPageURL", {{"GetPageURL", server.Url("/index.html")}});
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\nContent-Type: text/html\r\nX-Two: a\r\nX-Two: b\r\n\r\n" + body),
              Replies{Opening("GetPageURL", server.Url("/index.html")) +
                      "HTTPStatus: 200\r\nHTTPError: 0\r\nContent-Type: text/html\r\nX-Two: a\r\nX-Two: b\r\n\r\n" +
                      body});
    EXPECT_FALSE(command.isCommandInProgress);
    EXPECT_FALSE(WatchdogOn());

    std::string request;
    Start("GetHeadersURL", {{"GetHeadersURL", server.Url("/h")}});
    EXPECT_EQ(Answer("HTTP/1.0 301 Moved\r\nLocation: /x\r\n\r\nignored", &request),
              Replies{Opening("GetHeadersURL", server.Url("/h")) + "HTTPStatus: 301\r\nHTTPError: 0\r\nLocation: /x\r\n\r\n"});
    EXPECT_TRUE(request.starts_with("HEAD /h HTTP/1.0\r\n"));

    Start("GetNews", {{"WebAddress", server.Url("/news")}, {"DateStr", "2026-11-22 10:00"}, {"GOIStr", "a+b"}});
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\n\r\nnews", &request),
              Replies{"Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 0\r\n\r\nnews"});
    EXPECT_TRUE(request.starts_with("POST /news HTTP/1.0\r\n")) << request;
    EXPECT_TRUE(request.ends_with("urlencoded\r\nContent-length: 35\r\n\r\ndate=2026%2D11%2D22+10:00&goi=a%2Bb")) << request;

    // A server that closes before any header gives a page too.
    Start("GetPageURL", {{"GetPageURL", server.Url()}});
    EXPECT_EQ(Answer(""), Replies{Opening("GetPageURL", server.Url()) + "HTTPStatus: \r\nHTTPError: 0\r\n\r\n"});

    // An empty address ends the command at once, with nothing sent.
    for (const char* word : {"GetPageURL", "GetNews"}) {
        Start(word, {{"GetPageURL", ""}});
        EXPECT_FALSE(command.isCommandInProgress || WatchdogOn()) << word;
        EXPECT_TRUE(fetcher.InputURL.IsEmpty() && sink.Empty()) << word;
    }
}

TEST_F(FetcherTest, TheDispatcherSkipsTheTickThatTheEndOfAFetchMadeLate) {
    // The page ends the fetch in a handler that runs ahead of the tick that
    // has just fallen due: that tick is skipped, and the next comes a period
    // after the handler. The other ends go through the same endCommand.
    Start("GetPageURL", {{"GetPageURL", server.Url()}});
    const TimePoint endedAt = clock.Now() + milliseconds(2010);
    const int fd = Accept();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\npage");
    close(fd);
    ticks.clear();
    clock.Set(endedAt);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return !command.isCommandInProgress; }));
    EXPECT_EQ(sink.Take().size(), 1u);
    test::AdvanceTo(loop, clock, endedAt + milliseconds(2000));
    EXPECT_EQ(ticks, std::vector<TimePoint>{endedAt + milliseconds(2000)});
}

TEST_F(FetcherTest, AnAnnouncedSizeIsOnlyAClaimAndABodyTooLargeForMemoryEndsLikeAStalledServer) {
    // A heap with room for 1 MiB of page and no more.
    fetcher.RSSTCPSocket.SetInputRoomMaker([](std::string& storage, std::size_t capacity) {
        if (capacity > (std::size_t{1} << 20)) throw std::bad_alloc();
        storage.reserve(capacity);
    });
    Start("GetPageURL", {{"GetPageURL", server.Url()}});
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\nContent-Length: 2000000000\r\n\r\nabc"),
              Replies{Opening("GetPageURL", server.Url()) +
                      "HTTPStatus: 200\r\nHTTPError: 0\r\nContent-Length: 2000000000\r\n\r\nabc"});

    Start("GetPageURL", {{"GetPageURL", server.Url("/huge")}});
    const TimePoint started = clock.Now();
    const int fd = Accept();
    std::thread sender([fd] {
        try {
            test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n" + std::string(std::size_t{3} << 20, 'x'));
        } catch (const std::runtime_error&) {
        }  // the assistant closed the connection: the write fails
    });
    const HTTPSocket& socket = fetcher.RSSTCPSocket;
    EXPECT_TRUE(test::RunUntil(loop, [&] { return !socket.IsConnected() && socket.BytesAvailable() == 0; }));
    sender.join();
    close(fd);
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(sink.Take(), Replies{Opening("GetPageURL", server.Url("/huge")) + "HTTPError: 1\r\n"});

    Start("GetPageURL", {{"GetPageURL", server.Url()}});
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\n\r\nsmall"),
              Replies{Opening("GetPageURL", server.Url()) + "HTTPStatus: 200\r\nHTTPError: 0\r\n\r\nsmall"})
        << "the socket hears data again";
}

TEST_F(FetcherTest, ARefusedConnectionReportsAtOnceAndTheWatchdogStillFiresUnderTheCommandThen) {
    const std::string url = server.Url("/gone");
    server.StopListening();
    Start("GetPageURL", {{"GetPageURL", url}});
    const TimePoint started = clock.Now();
    ASSERT_TRUE(test::RunUntil(loop, [&] { return !command.isCommandInProgress; }));
    EXPECT_EQ(sink.Take(), Replies{"HTTPError: 102\r\n"});
    command.CommandStr = "Status";
    test::AdvanceTo(loop, clock, started + seconds(59));
    EXPECT_TRUE(sink.Empty());
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(sink.Take(), Replies{Opening("Status", url) + "HTTPError: 1\r\n"});
}

TEST_F(FetcherTest, AServerThatNeverClosesEndsInTheTimeoutReport) {
    Start("GetNews", {{"WebAddress", server.Url()}});
    const TimePoint started = clock.Now();
    const int fd = Accept();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nstill coming");
    test::RunUntil(loop, [] { return false; }, milliseconds(50));
    test::AdvanceTo(loop, clock, started + seconds(59));
    EXPECT_TRUE(sink.Empty());
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(sink.Take(), Replies{"Response: GetNews\r\nHTTPError: 1\r\n"});
    EXPECT_FALSE(command.isCommandInProgress);
    EXPECT_FALSE(fetcher.RSSTCPSocket.IsConnected());
    close(fd);
}

TEST_F(FetcherTest, LateEventsAreJudgedByTheCurrentCommandAndALostChannelEndsTheProcess) {
    command.CommandStr = "Status";
    fetcher.RSSTCPSocket_PageReceived("http://x/", 200, nullptr, "late");
    fetcher.RSSTCPSocket_HeadersReceived(nullptr, 200);
    EXPECT_TRUE(sink.Empty());
    // An error during a copy is reported and leaves the queue held; -1 adds no line.
    command.CommandStr = "CopyFile";
    command.isCommandInProgress = true;
    fetcher.RSSTCPSocket_Error(105);
    fetcher.RSSTCPSocket_Error(-1);
    EXPECT_EQ(sink.Take(), (Replies{"HTTPError: 105\r\n", ""}));
    EXPECT_TRUE(command.isCommandInProgress);

    Start("GetPageURL", {{"GetPageURL", server.Url()}});
    const int fd = Accept();
    sink.connected = false;
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\npage");
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return loop.Stopping(); }));
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_TRUE(command.isCommandInProgress && sink.Empty()) << "left as it was";
    EXPECT_FALSE(WatchdogOn());
    EXPECT_THROW(fetcher.RSSTCPSocket_Error(102), EndException) << "an error for nobody ends the process too";
    EXPECT_TRUE(sink.Empty());
}

}  // namespace
}  // namespace qv
