#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/HttpFixture.h"

namespace qv {
namespace {

using Events = std::vector<std::string>;

class HTTPResponseTest : public test::HttpFixture {
protected:
    // Runs one GET whose server sends `pieces`, one write each, and then ends
    // the connection (by a reset if `reset`).
    void Exchange(const std::vector<std::string>& pieces, bool reset = false) {
        http.Get(String(Url("/p")));
        const int fd = Serve();
        for (const std::string& piece : pieces) {
            test::WriteAll(fd, piece);
            test::RunUntil(loop, [] { return false; }, std::chrono::milliseconds(20));
        }
        if (reset) {
            test::ResetConnection(fd);
        } else {
            close(fd);
        }
        Settle();
    }
    std::string Page(const std::string& rest) const { return "page " + Url("/p") + " " + rest; }
};

TEST_F(HTTPResponseTest, ServerThatClosesAtOnceGivesAnEmptyPageWithoutHeaders) {
    Exchange({});
    EXPECT_EQ(events, (Events{"connected", Page("0 nil []")}));
}

TEST_F(HTTPResponseTest, HalfAHeaderBlockThenCloseRaisesNothing) {
    Exchange({"HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n"});
    EXPECT_EQ(events, (Events{"connected"})) << "stranded: only the watchdog can end this";
}

TEST_F(HTTPResponseTest, HeaderBlockInTwoPiecesWaitsForItsEnd) {
    Exchange({"HTTP/1.0 200 OK\r\nA: 1\r", "\n\r\nbody"});
    EXPECT_EQ(events, (Events{"connected", "headers 200", "progress 4/0 body", Page("200 [body]")}));
}

TEST_F(HTTPResponseTest, BlankLineAtTheEndOfTheFirstPieceGivesAnEmptyFirstProgress) {
    Exchange({"HTTP/1.0 404 Not Found\r\n\r\n", "gone"});
    EXPECT_EQ(events,
              (Events{"connected", "headers 404", "progress 0/0 ", "progress 4/0 gone", Page("404 [gone]")}));
}

TEST_F(HTTPResponseTest, TheLineEndFoundFirstDecidesWhereTheBlockEnds) {
    struct Case {
        const char* what;
        std::string response;
        std::string page;
    };
    const Case cases[] = {
        // LF lines, but CR LF CR LF in the body: the block runs up to it.
        {"LF block, CR LF pair in the body", "HTTP/1.0 200 OK\nA: 1\n\nbody\r\n\r\nrest", "200 [rest]"},
        // CR LF lines that end LF LF: that search hits, and two bytes go.
        {"CR LF lines ending LF LF", "HTTP/1.0 201 Created\r\nA: 1\n\nbody", "201 [body]"},
        {"CR CR", "HTTP/1.0 202 OK\rA: 1\r\rbody", "202 [body]"},
    };
    for (const Case& c : cases) {
        events.clear();
        Exchange({c.response});
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events.back(), Page(c.page)) << c.what << Dump();
    }
}

TEST_F(HTTPResponseTest, ContentLengthIsShownButNeverEndsThePage) {
    Exchange({"HTTP/1.0 200 OK\r\nContent-length: 5\r\n\r\n123456789"});
    EXPECT_EQ(events, (Events{"connected", "headers 200", "progress 9/5 123456789", Page("200 [123456789]")}));
}

TEST_F(HTTPResponseTest, AResetInMidBodyEndsAShortPageWithoutError) {
    Exchange({"HTTP/1.0 200 OK\r\n\r\npart"}, true);
    EXPECT_EQ(events.back(), Page("200 [part]")) << Dump();
    EXPECT_EQ(Count("error"), 0u);
}

TEST_F(HTTPResponseTest, ASecondErrorEventAfterThePageIsAnError) {
    Exchange({"HTTP/1.0 200 OK\r\n\r\nx"});
    ASSERT_EQ(Count("page"), 1u);
    http.Event_Error();
    EXPECT_EQ(Count("page"), 1u) << "a page is delivered once";
    EXPECT_EQ(events.back(), "error 102");
    EXPECT_EQ(http.ErrorCode(), 102);
}

TEST_F(HTTPResponseTest, AfterALocalCloseAFailedConnectDeliversTheOldPage) {
    http.Get(String(Url("/p")));
    const int fd = Serve();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\nA: 1\r\n\r\nold bytes");
    ASSERT_TRUE(WaitFor("progress"));
    http.Close();  // local: no event, and the connection counts as valid still
    close(fd);
    server.StopListening();
    const std::string refused = Url("/new");
    http.Get(String(refused));
    ASSERT_TRUE(WaitFor("page"));
    EXPECT_EQ(events.back(), "page " + refused + " 200 [old bytes]");
    EXPECT_EQ(Count("error"), 0u);
}

TEST_F(HTTPResponseTest, RefusedConnectionIsAnErrorWithTheSocketsCode) {
    server.StopListening();
    http.Get(String(Url()));
    ASSERT_TRUE(WaitFor("error"));
    EXPECT_EQ(events, (Events{"error 102"}));
    EXPECT_EQ(http.ErrorCode(), 102);
}

TEST_F(HTTPResponseTest, HeadEndsWithItsHeadersAndRaisesNoPage) {
    http.GetHeaders(String(Url()));
    const int fd = Serve();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\nServer: test\r\n\r\nignored body");
    close(fd);
    Settle();
    EXPECT_EQ(events, (Events{"connected", "headers 200"}));
    ASSERT_TRUE(http.PageHeaders());
    EXPECT_EQ(http.PageHeaders()->Value("server").Bytes(), "test");
}

TEST_F(HTTPResponseTest, ALargeBodyArrivesWhole) {
    std::string body(6 * 1024 * 1024, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) body[i] = static_cast<char>(i % 253);
    std::string content;
    http.events.PageReceived = [&](const String&, std::int32_t, const HTTPSocket::Headers&, const String& page) {
        content = std::string(page.Bytes());
    };
    http.events.ReceiveProgress = nullptr;
    http.Get(String(Url()));
    const int fd = Serve();
    std::thread sender([&] {
        test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n" + body);
        close(fd);
    });
    EXPECT_TRUE(test::RunUntil(loop, [&] { return !content.empty(); }, std::chrono::milliseconds(10000)));
    sender.join();
    EXPECT_TRUE(content == body);
}

}  // namespace
}  // namespace qv
