#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "qvctl/CopyProgress.h"
#include "qvctl/FetchReply.h"
#include "qvctl/ReplyFormat.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";

std::string Json(const std::string& fields, const std::string& body = "") {
    return R"({"fields":[)" + fields + R"(],"body":")" + body + "\"}\n";
}

TEST(QvctlOutputTest, RepliesAsTextRawOrJson) {
    const struct {
        const char* what;
        OutputMode mode;
        std::string text, expected;
    } cases[] = {
        {"text as it is", OutputMode::Text, kStatusReport, kStatusReport},
        {"text ends in a line break", OutputMode::Text, "body\r", "body\r\n"},
        {"empty", OutputMode::Text, "", "\n"},
        {"raw", OutputMode::Raw, kStatusReport, "Response: Status\\r\\n\nStatus: Ready\\r\\n\nHTTPError: \\r\\n\n"},
        {"raw lone CR and LF", OutputMode::Raw, "a\rb\nc", "a\\rb\\n\nc\n"},
        {"raw backslash and control bytes", OutputMode::Raw, "C:\\r\0\t\x1b\x7f\xc3\xa9"s,
         "C:\\\\r\\x00\\x09\\x1B\\x7F\xc3\xa9\n"},
        {"json", OutputMode::Json, kStatusReport,
         Json(R"({"name":"Response","value":"Status"},{"name":"Status","value":"Ready"},{"name":"HTTPError","value":""})")},
        {"json body behind the first empty line", OutputMode::Json, "HTTPStatus: 200\r\n\r\na\0\r\n\r\nb"s,
         Json(R"({"name":"HTTPStatus","value":"200"})", "YQANCg0KYg==")},
        {"json cut at the first colon-blank; none: all name", OutputMode::Json, "Location: h: x\r\nOdd:line\r\nE: 5",
         Json(R"({"name":"Location","value":"h: x"},{"name":"Odd:line","value":""},{"name":"E","value":"5"})")},
        {"json empty first line: all body", OutputMode::Json, "\r\n\0\x01\xff"s, Json("", "AAH/")},
    };
    for (const auto& c : cases) EXPECT_EQ(RenderReply(String(c.text), c.mode), c.expected) << c.what;

    const std::pair<std::string, std::string> escapes[] = {
        {R"(say "a\b")", R"("say \"a\\b\"")"}, {"a\rb\n\t\0\x1f"s, R"("a\u000Db\u000A\u0009\u0000\u001F")"},
        {"\xc3\xa9 \xf0\x9f\x98\x80", "\"\xc3\xa9 \xf0\x9f\x98\x80\""}, {"\xe9\xe2\x82", R"("\ufffd\ufffd\ufffd")"},
        {"\xc0\xaf\xed\xa0\x80", R"("\ufffd\ufffd\ufffd\ufffd\ufffd")"}, {"\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},
        {"\xf5\x80\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"}, {"\xc2\xbf\xf0\x90\x80\xbf", "\"\xc2\xbf\xf0\x90\x80\xbf\""}};
    for (const auto& [value, json] : escapes) {
        EXPECT_EQ(RenderReply(String("N: " + value + "\r\n"), OutputMode::Json), Json(R"({"name":"N","value":)" + json + "}"));
        EXPECT_EQ(RenderReply(String(value + ": v\r\n"), OutputMode::Json), Json(R"({"name":)" + json + R"(,"value":"v"})"));
    }
}

TEST(QvctlOutputTest, AFetchReplySendsItsLinesOneWayAndTheRawBodyTheOther) {
    const std::string lines = "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPStatus: 404\r\nHTTPError: 0\r\nServer: t\r\n";
    const std::string body = "\x89PNG\0\r\n\r\n\xfe\xff"s;
    const struct {
        const char* what;
        std::string text;
        OutputMode mode;
        std::string lines, body;
        bool delivered;
    } cases[] = {
        {"a page, whatever its status", lines + "\r\n" + body, OutputMode::Text, lines, body, true},
        {"headers only", lines + "\r\n", OutputMode::Text, lines, "", true},
        {"closed before any header", "Response: GetNews\r\nHTTPStatus: \r\nHTTPError: 0\r\n\r\n", OutputMode::Text,
         "Response: GetNews\r\nHTTPStatus: \r\nHTTPError: 0\r\n", "", true},
        {"raw: only the lines are made visible", "HTTPError: 0\r\n\r\n" + body, OutputMode::Raw, "HTTPError: 0\\r\\n\n",
         body, true},
        {"timeout report", "Response: GetNews\r\nHTTPError: 1\r\n", OutputMode::Text,
         "Response: GetNews\r\nHTTPError: 1\r\n", "", false},
        {"error report", "HTTPError: 102\r\n", OutputMode::Raw, "HTTPError: 102\\r\\n\n", "", false},
        {"error report of code 0", "HTTPError: 0\r\n", OutputMode::Text, "HTTPError: 0\r\n", "", false},
        {"a server's own HTTPError header does not count",
         "Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 1\r\nHTTPError: 0\r\n\r\nx", OutputMode::Text,
         "Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 1\r\nHTTPError: 0\r\n", "x", false},
        {"json: all on standard output", "HTTPError: 0\r\n\r\n\0\xff"s, OutputMode::Json, "",
         Json(R"({"name":"HTTPError","value":"0"})", "AP8="), true},
    };
    for (const auto& c : cases) {
        const FetchPrintout printout = RenderFetchReply(String(c.text), c.mode);
        EXPECT_EQ(printout.lines, c.lines) << c.what;
        EXPECT_EQ(printout.body, c.body) << c.what;
        EXPECT_EQ(printout.delivered, c.delivered) << c.what;
    }
}

std::string Progress(const std::string& barPos) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: " + barPos +
           "\r\nMsgStr: m\r\nHTTPError: \r\n";
}

TEST(QvctlOutputTest, ProgressLinesGiveUpTheSizesTheRateAndTheBarToFitTheirTerminal) {
    constexpr std::int64_t kMiB = 1 << 20;
    const CopyFigures half{512 * kMiB, 1024 * kMiB, 64.0 * kMiB};
    const struct {
        CopyFigures figures;
        std::size_t columns;
        std::string line;
    } cases[] = {
        {{0, 1000, std::nullopt}, 80, "[                    ]   0% 0 bytes of 1000 bytes"},
        {half, 80, "[##########          ]  50% 512.0 MB of 1.00 GB 64.0 MB/s 00:08 left"},
        {half, 68, "[##########          ]  50% 64.0 MB/s 00:08 left"},
        {half, 47, "[##########          ]  50% 00:08 left"},
        {half, 38, " 50% 00:08 left"},
        {half, 5, " 50%"},
        {half, 4, ""},
        {{5000, 4000, std::nullopt}, 80, "[####################] 100% 3.9 KB of 3.9 KB"},  // a destination grown past
        {{0, 0, std::nullopt}, 80, "[####################] 100% 0 bytes of 0 bytes"},
    };
    for (const auto& c : cases) EXPECT_EQ(ProgressLine(c.figures, c.columns), c.line) << c.columns;
    const std::pair<std::int64_t, std::string> sizes[] = {{1023, "1023 bytes"}, {1024, "1.0 KB"}, {1536, "1.5 KB"},
                                                          {kMiB, "1.0 MB"}, {1536 * kMiB, "1.50 GB"},
                                                          {std::int64_t{1} << 60, "1048576.00 TB"}};
    for (const auto& [bytes, text] : sizes) EXPECT_EQ(SizeText(bytes), text);
    const std::pair<Duration, std::string> durations[] = {{std::chrono::milliseconds(59999), "00:59"},
                                                          {std::chrono::seconds(3599), "59:59"},
                                                          {std::chrono::seconds(3600), "1:00:00"},
                                                          {std::chrono::seconds(-5), "00:00"}};
    for (const auto& [duration, text] : durations) EXPECT_EQ(DurationText(duration), text);
}

TEST(QvctlOutputTest, OnATerminalACopyIsMeasuredOnItsDestinationAndEndsInASummary) {
    test::TempDir dir;
    const std::string destination = dir.File("copy.bin");
    ManualClock clock;
    std::ostringstream terminal, pipe;
    CopyDisplay onTerminal(terminal, OutputMode::Text, 80, clock, destination, 4 << 20);
    CopyDisplay elsewhere(pipe, OutputMode::Text, std::nullopt, clock, destination, 4 << 20);
    const std::string complete = "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n";
    const std::pair<std::size_t, std::string> steps[] = {{1 << 20, Progress("100")}, {3 << 20, Progress("300")},
                                                         {4 << 20, complete}};
    for (const auto& [size, report] : steps) {
        clock.Advance(std::chrono::seconds(1));
        test::WriteFile(destination, std::string(size, 'x'));
        onTerminal.Show(String(report));
        elsewhere.Show(String(report));
    }
    EXPECT_EQ(terminal.str(), "\r[#####               ]  25% 1.0 MB of 4.0 MB\x1b[K"
                              "\r[###############     ]  75% 3.0 MB of 4.0 MB 2.0 MB/s 00:00 left\x1b[K"
                              "\r[####################] 100% 4.0 MB of 4.0 MB\x1b[K\nCopied 4.0 MB in 00:03, 1.3 MB/s\n");
    EXPECT_EQ(pipe.str(), Progress("100") + Progress("300") + complete);

    // Out of sight, the destination's share comes from the bar position; an abort ends the line.
    std::ostringstream aborted;
    CopyDisplay display(aborted, OutputMode::Text, 80, clock, dir.File("missing"), 4 << 20);
    display.Show(String(Progress("200")));
    EXPECT_FALSE(display.EndLine() && display.EndLine()) << "a line is ended once";
    display.Show(String("Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Abort\r\nHTTPError: \r\n"));
    EXPECT_EQ(aborted.str(), "\r[##########          ]  50% 2.0 MB of 4.0 MB\x1b[K\n"
                             "Aborted after 2.0 MB of 4.0 MB; the assistant removed the partial copy\n");
}

}  // namespace
}  // namespace qv::ctl
