#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "support/HttpFixture.h"

namespace qv {
namespace {

using Events = std::vector<std::string>;

class HTTPResponseTest : public test::HttpFixture {
protected:
    // One GET whose server sends `pieces`, one write each, then ends the
    // connection (by a reset if `reset`); the events that came of it.
    Events Exchange(const std::vector<std::string>& pieces, bool reset = false) {
        events.clear();
        http.Get(String(server.Url("/p")));
        const int fd = Serve();
        for (const std::string& piece : pieces) {
            test::WriteAll(fd, piece);
            test::RunUntil(loop, [] { return false; }, std::chrono::milliseconds(20));
        }
        reset ? test::ResetConnection(fd) : static_cast<void>(close(fd));
        Settle();
        return events;
    }
    std::string Page(const std::string& rest) const { return "page " + server.Url("/p") + " " + rest; }
};

TEST_F(HTTPResponseTest, TheServersCloseEndsThePageWhereverItsBlockEnded) {
    const struct {
        const char* what;
        std::vector<std::string> pieces;
        Events expected;
    } cases[] = {
        {"closed at once: an empty page without headers", {}, {"connected", Page("0 nil []")}},
        {"half a header block: nothing, only the watchdog can end it",
         {"HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n"}, {"connected"}},
        {"a blank line cut before its last byte", {"HTTP/1.0 200 OK\r\nA: 1\r\n\r", "\nbody"},
         {"connected", "headers 200", "progress 4/0 body", Page("200 [body]")}},
        {"the blank line ending the first piece", {"HTTP/1.0 404 Not Found\r\n\r\n", "gone"},
         {"connected", "headers 404", "progress 0/0 ", "progress 4/0 gone", Page("404 [gone]")}},
        {"Content-length is shown but never ends the page", {"HTTP/1.0 200 OK\r\nContent-length: 5\r\n\r\n123456789"},
         {"connected", "headers 200", "progress 9/5 123456789", Page("200 [123456789]")}},
        // The line end found first decides where the block ends.
        {"LF lines, CR LF CR LF in the body", {"HTTP/1.0 200 OK\nA: 1\n\nbody\r\n\r\nrest"},
         {"connected", "headers 200", "progress 4/0 rest", Page("200 [rest]")}},
        {"CR LF lines ending LF LF", {"HTTP/1.0 201 Created\r\nA: 1\n\nbody"},
         {"connected", "headers 201", "progress 4/0 body", Page("201 [body]")}},
        {"CR CR", {"HTTP/1.0 202 OK\rA: 1\r\rbody"}, {"connected", "headers 202", "progress 4/0 body", Page("202 [body]")}},
        // With no one to give credentials, a 401 is a page like any other.
        {"401", {"HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n\r\nno"},
         {"connected", "headers 401", "progress 2/0 no", Page("401 [no]")}},
    };
    for (const auto& c : cases) EXPECT_EQ(Exchange(c.pieces), c.expected) << c.what;

    EXPECT_EQ(http.ErrorCode(), 0);
    // A reset in mid-body ends a short page, not an error.
    EXPECT_EQ(Exchange({"HTTP/1.0 200 OK\r\n\r\npart"}, true).back(), Page("200 [part]"));
    EXPECT_EQ(Count("error"), 0u);
    // A second Error after the page is an error; the page is delivered once.
    http.Event_Error();
    EXPECT_EQ(Count("page"), 1u);
    EXPECT_EQ(events.back(), "error 102");
    EXPECT_EQ(http.ErrorCode(), 102);
}

TEST_F(HTTPResponseTest, HeadEndsWithItsHeadersAndRaisesNoPage) {
    http.GetHeaders(String(server.Url()));
    const int fd = Serve();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\nServer: test\r\n\r\nignored body");
    close(fd);
    Settle();
    EXPECT_EQ(events, (Events{"connected", "headers 200"}));
    ASSERT_TRUE(http.PageHeaders());
    EXPECT_EQ(http.PageHeaders()->Value("server").Bytes(), "test");
}

TEST_F(HTTPResponseTest, AfterALocalCloseAFailedConnectionDeliversTheOldPage) {
    http.Get(String(server.Url("/p")));
    const int fd = Serve();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\nA: 1\r\n\r\nold bytes");
    ASSERT_TRUE(WaitFor("progress"));
    http.Close();  // local: no event, and the connection counts as valid still
    close(fd);
    server.StopListening();
    http.Get(String(server.Url("/new")));
    ASSERT_TRUE(WaitFor("page"));
    EXPECT_EQ(events.back(), "page " + server.Url("/new") + " 200 [old bytes]");
    EXPECT_EQ(Count("error"), 0u);
}

TEST_F(HTTPResponseTest, LargeBodiesArriveWholeAPageStillHeldIsNeverReusedAndADownloadFillsItsFile) {
    std::vector<String> pages;
    http.events.PageReceived = [&](const String&, std::int32_t, const HTTPSocket::Headers&, const String& page) {
        pages.push_back(page);
    };
    http.events.ReceiveProgress = nullptr;
    const auto fetch = [&](const std::string& body) {
        http.Get(String(server.Url()));
        const int fd = Serve();
        std::thread sender([&] {
            test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n" + body);
            close(fd);
        });
        const std::size_t before = pages.size();
        EXPECT_TRUE(test::RunUntil(loop, [&] { return pages.size() > before; }, std::chrono::milliseconds(10000)));
        sender.join();
    };
    fetch(test::Pattern(6 << 20, 1));
    fetch(test::Pattern(1000, 2));
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_TRUE(pages[0].Bytes() == test::Pattern(6 << 20, 1)) << "a page its reader holds is not written over";
    EXPECT_TRUE(pages[1].Bytes() == test::Pattern(1000, 2));
    pages.clear();  // released: the next pages grow in their room
    fetch(test::Pattern(3 << 20, 3));
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_TRUE(pages[0].Bytes() == test::Pattern(3 << 20, 3));

    // A download replaces what its file held, and counts what it wrote.
    std::int32_t received = 0;
    http.events.ReceiveProgress = [&](std::int32_t bytes, std::int32_t, const String&) { received = bytes; };
    test::TempDir dir;
    test::WriteFile(dir.File("page"), std::string(200000, 'o'));
    HTTPSocket::File done;
    http.events.DownloadComplete = [&](auto&&, auto, auto&&, const HTTPSocket::File& file) { done = file; };
    http.Get(String(server.Url()), GetFolderItem(String(dir.File("page"))));
    const int fd = Serve();
    test::WriteAll(fd, "HTTP/1.0 200 OK\r\n\r\n" + test::Pattern(100000));
    close(fd);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return done != nullptr; }));
    EXPECT_TRUE(test::ReadFile(dir.File("page")) == test::Pattern(100000) && received == 100000) << received;
}

}  // namespace
}  // namespace qv
