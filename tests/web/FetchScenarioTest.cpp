#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/ChannelPeer.h"
#include "support/LoopDriver.h"
#include "support/WindowFixture.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Command;
using Replies = std::vector<std::string>;
using Window = RSSDownloadWindow;

class FetchScenarioTest : public test::WindowFixture {
protected:
    FetchScenarioTest() : created(clock.Now()), peer(channelPath) {
        EXPECT_TRUE(test::RunUntil(loop, [&] { return window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").IsConnected(); }));
    }

    std::string Url(const std::string& path = "/") const {
        return "http://127.0.0.1:" + std::to_string(server.Port()) + path;
    }
    // Sends a command and runs the dispatcher's next tick, which starts it.
    void Start(const std::string& command) {
        peer.Send(command);
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
        ++ticks;
        test::AdvanceTo(loop, clock, created + milliseconds(2000 * ticks));
    }
    // The server side of the fetch just started, with the request it got.
    int Accept(std::string* request = nullptr) {
        int fd = -1;
        EXPECT_TRUE(test::RunUntil(loop, [&] { return (fd = server.AcceptNow()) >= 0; }));
        const std::string got = test::ReadAvailable(fd, 50);
        if (request) *request = got;
        return fd;
    }
    // Runs the loop until a reply has come.
    Replies AwaitReplies() {
        Replies replies;
        test::RunUntil(loop, [&] {
            for (auto& r : peer.Replies()) replies.push_back(r);
            return !replies.empty();
        });
        return replies;
    }
    // Moves the clock to `at` from the start of the last command.
    void AdvanceSinceStart(Duration at) { test::AdvanceTo(loop, clock, created + milliseconds(2000 * ticks) + at); }

    std::string Opening(const std::string& command, const std::string& url) const {
        return "Response: " + command + "\r\nHTTPURL: " + url + "\r\n";
    }

    Duration created;
    int ticks = 0;
    test::ChannelPeer peer;
    test::TcpListener server;
};

TEST_F(FetchScenarioTest, APageIsReportedByteForByteAndFreesTheQueue) {
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", Url("/index.html")}}));
    const int fd = Accept();
    const std::string body("<html>\0\xff\r\n\r\nend", 15);
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\nContent-Type: text/html\r\nX-Two: a\r\nX-Two: b\r\n\r\n" + body);
    close(fd);
    EXPECT_EQ(AwaitReplies(), Replies{Opening("GetPageURL", Url("/index.html")) +
                                      "HTTPStatus: 200\r\nHTTPError: 0\r\nContent-Type: text/html\r\n"
                                      "X-Two: a\r\nX-Two: b\r\n\r\n" +
                                      body});
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_EQ(window->ControlNamed<Window::SocketTimeoutTimer>("SocketTimeoutTimer").Mode(), 0);
}

TEST_F(FetchScenarioTest, HeadersOnlyEndWithTheEmptyLine) {
    std::string request;
    Start(Command({{"Command", "GetHeadersURL"}, {"GetHeadersURL", Url("/h")}}));
    const int fd = Accept(&request);
    EXPECT_EQ(request.substr(0, 17), "HEAD /h HTTP/1.0\r");
    test::WriteAll(fd, "HTTP/1.0 301 Moved\r\nLocation: /x\r\n\r\n");
    EXPECT_EQ(AwaitReplies(), Replies{Opening("GetHeadersURL", Url("/h")) +
                                      "HTTPStatus: 301\r\nHTTPError: 0\r\nLocation: /x\r\n\r\n"});
    close(fd);
}

TEST_F(FetchScenarioTest, NewsPostsItsFormAndIsReportedWithoutItsAddress) {
    std::string request;
    Start(Command({{"Command", "GetNews"}, {"WebAddress", Url("/news")}, {"DateStr", "2026-11-22 10:00"},
                   {"GOIStr", "a+b"}}));
    const int fd = Accept(&request);
    const std::string form = "date=2026%2D11%2D22+10:00&goi=a%2Bb";
    EXPECT_EQ(request, "POST /news HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\nHost: 127.0.0.1:" +
                           std::to_string(server.Port()) +
                           "\r\nContent-type: application/x-www-form-urlencoded\r\nContent-length: " +
                           std::to_string(form.size()) + "\r\n\r\n" + form);
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nnews");
    close(fd);
    EXPECT_EQ(AwaitReplies(), Replies{"Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 0\r\n\r\nnews"});
}

TEST_F(FetchScenarioTest, EmptyAndClosedResponsesAreStillPages) {
    struct Case {
        const char* what;
        std::string response;
        std::string rest;
    };
    const Case cases[] = {
        {"a page of 0 bytes", "HTTP/1.0 200 OK\r\n\r\n", "HTTPStatus: 200\r\nHTTPError: 0\r\n\r\n"},
        {"closed before any header", "", "HTTPStatus: \r\nHTTPError: 0\r\n\r\n"},
    };
    for (const Case& c : cases) {
        Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", Url()}}));
        const int fd = Accept();
        test::WriteAll(fd, c.response);
        close(fd);
        EXPECT_EQ(AwaitReplies(), Replies{Opening("GetPageURL", Url()) + c.rest}) << c.what;
    }
}

TEST_F(FetchScenarioTest, AnEmptyAddressIsAnsweredByNothingAndFreesTheQueueAtOnce) {
    Start(Command({{"Command", "GetPageURL"}}));
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_TRUE(window->InputURL.IsEmpty());
    EXPECT_EQ(window->ControlNamed<Window::SocketTimeoutTimer>("SocketTimeoutTimer").Mode(), 0);
    Start(Command({{"Command", "Status"}}));
    EXPECT_EQ(peer.Replies(), Replies{"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"});
}

TEST_F(FetchScenarioTest, ARefusedConnectionReportsAtOnceAndTheWatchdogStillFires) {
    const std::string url = Url("/gone");
    server.StopListening();
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", url}}));
    EXPECT_EQ(AwaitReplies(), Replies{"HTTPError: 102\r\n"});
    EXPECT_FALSE(window->isCommandInProgress);
    // A status meanwhile changes what the watchdog reports, 60 s after the start.
    Start(Command({{"Command", "Status"}}));
    peer.Replies();
    AdvanceSinceStart(seconds(55));
    EXPECT_TRUE(peer.Replies().empty());
    AdvanceSinceStart(seconds(60));
    EXPECT_EQ(peer.Replies(), Replies{Opening("Status", url) + "HTTPError: 1\r\n"});
}

TEST_F(FetchScenarioTest, AServerThatNeverClosesEndsInTheTimeoutReport) {
    for (const std::string command : {"GetPageURL", "GetNews"}) {
        Start(Command({{"Command", command}, {command == "GetNews" ? "WebAddress" : "GetPageURL", Url()}}));
        const Duration started = clock.Now();
        const int fd = Accept();
        test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\nstill coming");
        test::RunUntil(loop, [] { return false; }, milliseconds(50));
        test::AdvanceTo(loop, clock, started + seconds(59));
        EXPECT_TRUE(peer.Replies().empty()) << command;
        test::AdvanceTo(loop, clock, started + seconds(60));
        const std::string expected = command == "GetNews" ? "Response: GetNews\r\nHTTPError: 1\r\n"
                                                           : Opening(command, Url()) + "HTTPError: 1\r\n";
        EXPECT_EQ(peer.Replies(), Replies{expected}) << command;
        EXPECT_FALSE(window->isCommandInProgress);
        EXPECT_FALSE(window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket").IsConnected());
        close(fd);
        ticks += 30;  // the next command starts after the watchdog's minute
    }
}

TEST_F(FetchScenarioTest, LateOrForeignEventsAreJudgedByTheCurrentCommandAlone) {
    window->CommandStr = "Status";
    window->RSSTCPSocket_PageReceived("http://x/", 200, nullptr, "late");
    window->RSSTCPSocket_HeadersReceived(nullptr, 200);
    EXPECT_TRUE(peer.Replies().empty());

    // An error during a copy is reported and leaves the queue held.
    window->CommandStr = "CopyFile";
    window->isCommandInProgress = true;
    window->RSSTCPSocket_Error(105);
    EXPECT_EQ(peer.Replies(), Replies{"HTTPError: 105\r\n"});
    EXPECT_TRUE(window->isCommandInProgress);
    // The code -1 adds no line: an empty message goes out.
    window->RSSTCPSocket_Error(-1);
    EXPECT_EQ(peer.Replies(), Replies{""});
}

TEST_F(FetchScenarioTest, WithTheChannelGoneDeliveryEndsTheProcess) {
    Start(Command({{"Command", "GetPageURL"}, {"GetPageURL", Url()}}));
    const int fd = Accept();
    window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").Close();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\npage");
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return loop.IsQuitting(); }));
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_TRUE(window->isCommandInProgress) << "left as it was";
    EXPECT_EQ(window->ControlNamed<Window::SocketTimeoutTimer>("SocketTimeoutTimer").Mode(), 0);
}

}  // namespace
}  // namespace qv
