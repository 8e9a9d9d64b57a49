#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "process/AssistantProcess.h"
#include "support/NginxServer.h"
#include "process/OneShotHttpServer.h"
#include "process/QvctlRun.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

using namespace std::string_literals;

const std::string kChannel = "/tmp/qvipc";
// Well below the assistant's 60-second watchdog: a reply within it is not the
// watchdog's.
const std::string kWait = "15";
constexpr int kFetchFailed = 4;

const std::string kPage = "<!DOCTYPE html>\n<html><body><p>QVAssistant test page</p></body></html>\n";
// NUL, an empty line of its own, bytes above 127, and no line end at the close.
const std::string kBinary = "\x89PNG\0\r\n\r\n\x00\x7f\x80\xfe\xff\xc3\xa9 end"s;

// qvctl against a fresh assistant, which ends with its one peer.
test::QvctlRun RunWithAssistant(const std::vector<std::string>& args) {
    test::AssistantProcess assistant;
    EXPECT_TRUE(assistant.WaitUntilListening(kChannel)) << assistant.Output();
    test::QvctlRun run = test::RunQvctl(args);
    EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(2000))) << assistant.Output();
    return run;
}

// The lines of a report as qvctl puts them on standard error, each with its
// CR LF taken off; a missing last CR LF shows as a line "<no CR LF>".
std::vector<std::string> LinesOf(std::string text) {
    std::vector<std::string> lines;
    for (auto end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n")) {
        lines.push_back(text.substr(0, end));
        text.erase(0, end + 2);
    }
    if (!text.empty()) lines.push_back("<no CR LF>" + text);
    return lines;
}

bool HasLine(const std::vector<std::string>& lines, const std::string& line) {
    return std::ranges::find(lines, line) != lines.end();
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

class QvctlFetchProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(kChannel);
        try {
            nginx.emplace();
        } catch (const std::exception& e) {
            FAIL() << e.what();
        }
        nginx->WriteFile("page.html", kPage);
        nginx->WriteFile("data.bin", kBinary);
    }
    void TearDown() override {
        if (HasFailure() && nginx) std::cerr << "nginx error log:\n" << nginx->ErrorLog();
        nginx.reset();
        std::filesystem::remove_all(kChannel);
    }

    // The report of a page or of its headers: the assistant's four lines, then
    // nginx's headers, which say what it sent.
    void ExpectReportLines(const std::string& err, const std::string& command, const std::string& url,
                           int status, std::size_t contentLength) {
        const std::vector<std::string> lines = LinesOf(err);
        ASSERT_GE(lines.size(), 5u) << err;
        EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 4),
                  (std::vector<std::string>{"Response: " + command, "HTTPURL: " + url,
                                            "HTTPStatus: " + std::to_string(status), "HTTPError: 0"}));
        EXPECT_TRUE(lines[4].starts_with("Server: nginx")) << lines[4];
        EXPECT_TRUE(HasLine(lines, "Content-Length: " + std::to_string(contentLength))) << err;
        EXPECT_TRUE(HasLine(lines, "Connection: close")) << err;
        for (const std::string& line : lines) EXPECT_NE(line.find(": "), std::string::npos) << line;
    }

    std::optional<test::NginxServer> nginx;
};

TEST_F(QvctlFetchProcessTest, APageArrivesByteForByteOnStandardOutputAndItsReportOnStandardError) {
    struct Case {
        std::string path;
        std::string body;
        std::string contentType;
    };
    const Case cases[] = {
        {"/page.html", kPage, "text/html"},
        {"/data.bin", kBinary, "application/octet-stream"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const std::string url = nginx->Url(c.path);
        const test::QvctlRun run = RunWithAssistant({"get", "--wait", kWait, url});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, c.body);
        ExpectReportLines(run.err, "GetPageURL", url, 200, c.body.size());
        EXPECT_TRUE(HasLine(LinesOf(run.err), "Content-Type: " + c.contentType)) << run.err;
    }
}

TEST_F(QvctlFetchProcessTest, ANotFoundIsAPageWithItsStatusAndFetchesCleanly) {
    const std::string url = nginx->Url("/missing.html");
    const test::QvctlRun run = RunWithAssistant({"get", "--wait", kWait, url});
    EXPECT_EQ(run.exitStatus, 0) << "a 404 is a page, not a failed fetch";
    EXPECT_NE(run.out.find("404 Not Found"), std::string::npos) << run.out;
    ExpectReportLines(run.err, "GetPageURL", url, 404, run.out.size());
}

TEST_F(QvctlFetchProcessTest, HeadersBringTheLinesAndNoBody) {
    struct Case {
        std::string path;
        int status;
        std::size_t contentLength;
    };
    // nginx's own 404 page is 153 bytes long; HEAD reports its length too.
    const Case cases[] = {{"/page.html", 200, kPage.size()}, {"/missing.html", 404, 153}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const std::string url = nginx->Url(c.path);
        const test::QvctlRun run = RunWithAssistant({"headers", "--wait", kWait, url});
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, "");
        ExpectReportLines(run.err, "GetHeadersURL", url, c.status, c.contentLength);
    }
}

TEST_F(QvctlFetchProcessTest, OutputFileAndJsonCarryTheSameBytes) {
    const std::string url = nginx->Url("/data.bin");
    test::TempDir dir;
    const std::string file = dir.File("data.bin");

    const test::QvctlRun saved = RunWithAssistant({"get", "--wait", kWait, "--output", file, url});
    EXPECT_EQ(saved.exitStatus, 0);
    EXPECT_EQ(saved.out, "");
    EXPECT_EQ(ReadFile(file), kBinary);
    ExpectReportLines(saved.err, "GetPageURL", url, 200, kBinary.size());

    const test::QvctlRun json = RunWithAssistant({"get", "--json", "--wait", kWait, url});
    EXPECT_EQ(json.exitStatus, 0);
    EXPECT_EQ(json.err, "");
    EXPECT_TRUE(json.out.starts_with(R"({"fields":[{"name":"Response","value":"GetPageURL"},)")) << json.out;
    EXPECT_NE(json.out.find(R"({"name":"HTTPStatus","value":"200"},{"name":"HTTPError","value":"0"})"),
              std::string::npos)
        << json.out;
    EXPECT_TRUE(
        json.out.ends_with(R"(],"body":")" + std::string(Base64Encode(String(kBinary)).Bytes()) + "\"}\n"))
        << json.out;
}

// The news form against a server of our own, which sees the exact request.
TEST(QvctlNewsProcessTest, PostsTheEncodedFormAndPrintsTheNewsReport) {
    struct Case {
        std::vector<std::string> options;
        std::string form;
    };
    const Case cases[] = {
        {{"--date", "2026-11-22 10:00", "--goi", "a&b=c/d_e~f+g%h \xc3\xa9"},
         "date=2026%2D11%2D22+10:00&goi=a%26b%3Dc%2Fd%5Fe%7Ef%2Bg%25h+\xc3\xa9"},
        {{}, "date=&goi="},
    };
    const std::string body = "news \0\r\n\r\n\xff"s;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.form);
        std::filesystem::remove_all(kChannel);
        test::OneShotHttpServer server("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nX-Test: news\r\n\r\n" +
                                       body);
        const std::string host = "127.0.0.1:" + std::to_string(server.Port());
        std::vector<std::string> args = {"news", "--wait", kWait, "http://" + host + "/news?x=1"};
        args.insert(args.end(), c.options.begin(), c.options.end());

        const test::QvctlRun run = RunWithAssistant(args);
        EXPECT_EQ(server.Request(),
                  "POST /news?x=1 HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\nHost: " + host +
                      "\r\nContent-type: application/x-www-form-urlencoded\r\nContent-length: " +
                      std::to_string(c.form.size()) + "\r\n\r\n" + c.form);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.err,
                  "Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 0\r\nContent-Type: text/plain\r\n"
                  "X-Test: news\r\n");
        EXPECT_EQ(run.out, body);
    }
    std::filesystem::remove_all(kChannel);
}

TEST(QvctlRefusedProcessTest, ARefusedConnectionGivesTheErrorReportAtOnce) {
    test::TcpListener closed;
    closed.StopListening();
    const std::string url = "http://127.0.0.1:" + std::to_string(closed.Port()) + "/news";
    for (const char* command : {"get", "headers", "news"}) {
        SCOPED_TRACE(command);
        std::filesystem::remove_all(kChannel);
        const test::QvctlRun run = RunWithAssistant({command, "--wait", kWait, url});
        EXPECT_EQ(run.exitStatus, kFetchFailed);
        EXPECT_EQ(run.err, "HTTPError: 102\r\n");
        EXPECT_EQ(run.out, "");
    }
    std::filesystem::remove_all(kChannel);
}

}  // namespace
}  // namespace qv
