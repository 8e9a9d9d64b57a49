#include <gtest/gtest.h>
#include <unistd.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/WindowFixture.h"

namespace qv {
namespace {

using std::chrono::seconds;
using test::Command;
using Replies = std::vector<std::string>;
using Window = RSSDownloadWindow;

class FetchScenarioTest : public test::WindowFixture {
protected:
    void SetUp() override { Connect(); }
    // Sends a command and runs the dispatcher's next tick, which starts it.
    void Start(const std::string& command) {
        peer->Send(command);
        Deliver();
        Tick(++ticks);
    }
    // The server's side of the fetch just started, with the request it got.
    int Accept(std::string* request = nullptr) {
        int fd = -1;
        EXPECT_TRUE(test::RunUntil(loop, [&] { return (fd = server.Accept(0)) >= 0; }));
        const std::string got = test::ReadAvailable(fd, 50);
        if (request) *request = got;
        return fd;
    }
    // The server answers `response` and closes; the replies that come of it.
    Replies Answer(const std::string& response, std::string* request = nullptr) {
        const int fd = Accept(request);
        test::WriteAll(fd, response);
        close(fd);
        Replies replies;
        test::RunUntil(loop, [&] {
            replies = peer->Replies();
            return !replies.empty();
        });
        return replies;
    }
    std::string Opening(const std::string& command, const std::string& url) const {
        return "Response: " + command + "\r\nHTTPURL: " + url + "\r\n";
    }
    // A fetch has just ended outside a tick: the dispatcher's beat runs from here.
    void RestartBeat() {
        created = clock.Now();
        ticks = 0;
    }
    bool WatchdogOn() const { return window->ControlNamed<Timer>("SocketTimeoutTimer").Mode() != 0; }

    int ticks = 0;
    test::TcpListener server;
};

TEST_F(FetchScenarioTest, PagesHeadersAndNewsAreReportedByteForByteAndFreeTheQueue) {
    const std::string body("<html>\0\xff\r\n\r\nend", 15);
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url("/index.html")}}));
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\nContent-Type: text/html\r\nX-Two: a\r\nX-Two: b\r\n\r\n" + body),
              Replies{Opening("GetPageURL", server.Url("/index.html")) +
                      "HTTPStatus: 200\r\nHTTPError: 0\r\nContent-Type: text/html\r\nX-Two: a\r\nX-Two: b\r\n\r\n" +
                      body});
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_FALSE(WatchdogOn());

    std::string request;
    Start(Command({{"Command", "GetHeadersURL"}, {"GetHeadersURL", server.Url("/h")}}));
    EXPECT_EQ(Answer("HTTP/1.0 301 Moved\r\nLocation: /x\r\n\r\nignored", &request),
              Replies{Opening("GetHeadersURL", server.Url("/h")) + "HTTPStatus: 301\r\nHTTPError: 0\r\nLocation: /x\r\n\r\n"});
    EXPECT_TRUE(request.starts_with("HEAD /h HTTP/1.0\r\n"));

    Start(Command({{"Command", "GetNews"}, {"WebAddress", server.Url("/news")}, {"DateStr", "2026-11-22 10:00"},
                   {"GOIStr", "a+b"}}));
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\n\r\nnews", &request),
              Replies{"Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 0\r\n\r\nnews"});
    EXPECT_TRUE(request.starts_with("POST /news HTTP/1.0\r\n")) << request;
    EXPECT_TRUE(request.ends_with("urlencoded\r\nContent-length: 35\r\n\r\ndate=2026%2D11%2D22+10:00&goi=a%2Bb")) << request;

    // A server that closes before any header gives a page too.
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url()}}));
    EXPECT_EQ(Answer(""), Replies{Opening("GetPageURL", server.Url()) + "HTTPStatus: \r\nHTTPError: 0\r\n\r\n"});
}

TEST_F(FetchScenarioTest, TheNextCommandNeverStartsRightOnTheEndOfAFetch) {
    // A fetch that ends in a handler which runs ahead of the tick that has just
    // fallen due: that tick is skipped, and the Status behind the fetch starts
    // one whole period after the fetch ended.
    int wake[2];
    ASSERT_EQ(pipe(wake), 0);
    RunLoop::Watch socketError = loop.AddWatch(wake[0], POLLIN, [&](short) {
        char byte;
        EXPECT_EQ(read(wake[0], &byte, 1), 1);
        window->RSSTCPSocket_Error(102);
    });
    for (const std::string end : {"page", "error", "watchdog"}) {
        SCOPED_TRACE(end);
        Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url()}}));
        const TimePoint started = clock.Now();
        peer->Send(Command({{"Command", "Status"}}));
        Deliver();
        const int fd = Accept();
        TimePoint endedAt = started + std::chrono::milliseconds(2010);
        if (end == "page") {
            test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\npage");
            close(fd);
        } else if (end == "error") {
            ASSERT_EQ(write(wake[1], "x", 1), 1);
        } else {
            test::AdvanceTo(loop, clock, started + seconds(58));
            endedAt = started + seconds(60) + std::chrono::milliseconds(10);
        }
        clock.Set(endedAt);
        ASSERT_TRUE(test::RunUntil(loop, [&] { return !window->isCommandInProgress; }));
        EXPECT_EQ(peer->Replies().size(), 1u);
        test::AdvanceTo(loop, clock, endedAt + std::chrono::milliseconds(1999));
        EXPECT_TRUE(peer->Replies().empty()) << "a Status right on the end of the fetch";
        test::AdvanceTo(loop, clock, endedAt + std::chrono::milliseconds(2000));
        EXPECT_EQ(peer->Replies(), Replies{"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"});
        if (end != "page") close(fd);
        RestartBeat();
    }
    close(wake[0]);
    close(wake[1]);
}

TEST_F(FetchScenarioTest, AnAnnouncedSizeIsOnlyAClaimAndABodyTooLargeForMemoryEndsLikeAStalledServer) {
    // A heap with room for 1 MiB of page and no more.
    window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket").SetInputRoomMaker([](std::string& storage, std::size_t capacity) {
        if (capacity > (std::size_t{1} << 20)) throw std::bad_alloc();
        storage.reserve(capacity);
    });
    const std::string announced = "HTTP/1.0 200 OK\r\nContent-Length: 2000000000\r\n\r\n";
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url()}}));
    EXPECT_EQ(Answer(announced + "abc"), Replies{Opening("GetPageURL", server.Url()) +
                                                 "HTTPStatus: 200\r\nHTTPError: 0\r\nContent-Length: 2000000000\r\n\r\nabc"});

    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url("/huge")}}));
    const TimePoint started = clock.Now();
    const int fd = Accept();
    std::thread sender([fd] {
        try {
            test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n" + std::string(std::size_t{3} << 20, 'x'));
        } catch (const std::runtime_error&) {
        }  // the assistant closed the connection: the write fails
    });
    auto& socket = window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket");
    EXPECT_TRUE(test::RunUntil(loop, [&] { return !socket.IsConnected() && socket.BytesAvailable() == 0; }));
    sender.join();
    close(fd);
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(peer->Replies(), Replies{Opening("GetPageURL", server.Url("/huge")) + "HTTPError: 1\r\n"});
    RestartBeat();

    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url()}}));
    EXPECT_EQ(Answer("HTTP/1.0 200 OK\r\n\r\nsmall"),
              Replies{Opening("GetPageURL", server.Url()) + "HTTPStatus: 200\r\nHTTPError: 0\r\n\r\nsmall"})
        << "the socket hears data again";
}

TEST_F(FetchScenarioTest, AnEmptyAddressIsAnsweredByNothingAndFreesTheQueueAtOnce) {
    Start(Command({{"Command", "GetPageURL"}}));
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_TRUE(window->InputURL.IsEmpty());
    EXPECT_FALSE(WatchdogOn());
    Start(Command({{"Command", "Status"}}));
    EXPECT_EQ(peer->Replies(), Replies{"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"});
}

TEST_F(FetchScenarioTest, ARefusedConnectionReportsAtOnceAndTheWatchdogStillFiresUnderTheCommandThen) {
    const std::string url = server.Url("/gone");
    server.StopListening();
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", url}}));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return !window->isCommandInProgress; }));
    EXPECT_EQ(peer->Replies(), Replies{"HTTPError: 102\r\n"});
    const TimePoint started = created + std::chrono::milliseconds(2000 * ticks);
    Start(Command({{"Command", "Status"}}));
    peer->Replies();
    test::AdvanceTo(loop, clock, started + seconds(59));
    EXPECT_TRUE(peer->Replies().empty());
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(peer->Replies(), Replies{Opening("Status", url) + "HTTPError: 1\r\n"});
}

TEST_F(FetchScenarioTest, AServerThatNeverClosesEndsInTheTimeoutReport) {
    Start(Command({{"Command", "GetNews"}, {"WebAddress", server.Url()}}));
    const TimePoint started = clock.Now();
    const int fd = Accept();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nstill coming");
    test::RunUntil(loop, [] { return false; }, std::chrono::milliseconds(50));
    test::AdvanceTo(loop, clock, started + seconds(59));
    EXPECT_TRUE(peer->Replies().empty());
    test::AdvanceTo(loop, clock, started + seconds(60));
    EXPECT_EQ(peer->Replies(), Replies{"Response: GetNews\r\nHTTPError: 1\r\n"});
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_FALSE(window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket").IsConnected());
    close(fd);
}

TEST_F(FetchScenarioTest, LateEventsAreJudgedByTheCurrentCommandAndALostChannelEndsTheProcess) {
    window->CommandStr = "Status";
    window->RSSTCPSocket_PageReceived("http://x/", 200, nullptr, "late");
    window->RSSTCPSocket_HeadersReceived(nullptr, 200);
    EXPECT_TRUE(peer->Replies().empty());
    // An error during a copy is reported and leaves the queue held; -1 adds no line.
    window->CommandStr = "CopyFile";
    window->isCommandInProgress = true;
    window->RSSTCPSocket_Error(105);
    window->RSSTCPSocket_Error(-1);
    EXPECT_EQ(peer->Replies(), (Replies{"HTTPError: 105\r\n", ""}));
    EXPECT_TRUE(window->isCommandInProgress);

    window->isCommandInProgress = false;
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", server.Url()}}));
    const int fd = Accept();
    window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").Close();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\npage");
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return loop.Stopping(); }));
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_TRUE(window->isCommandInProgress) << "left as it was";
    EXPECT_FALSE(WatchdogOn());
}

}  // namespace
}  // namespace qv
