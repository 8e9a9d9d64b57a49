#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "qvctl/CopyProgress.h"
#include "qvctl/FetchReply.h"
#include "qvctl/ReplyFormat.h"

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
        {"\xc0\xaf\xed\xa0\x80", R"("\ufffd\ufffd\ufffd\ufffd\ufffd")"}, {"\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"}};
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

std::string Progress(const std::string& barPos, const std::string& message) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: " + barPos +
           "\r\nMsgStr: " + message + "\r\nHTTPError: \r\n";
}

TEST(QvctlOutputTest, OnATerminalACopysProgressRedrawsOneLineOfItsWidth) {
    const std::pair<std::string, std::string> bars[] = {
        {"", "[                    ]   0% m"},  // the assistant writes 0 as nothing
        {"20", "[#                   ]   5% m"}, {"399", "[################### ]  99% m"},
        {"400", "[####################] 100% m"}, {"500", "[####################] 100% m"},
        {"9223372036854775807", "[####################] 100% m"}, {"-9223372036854775808", "[                    ]   0% m"},
        {"x", "[                    ]   0% m"},
    };
    for (const auto& [barPos, line] : bars) EXPECT_EQ(ProgressLine(barPos, "m", 80), line) << barPos;
    EXPECT_EQ(ProgressLine("1", "12.0 MB of 3.500 GB, 00:07 elapsed", 38), "[                    ]   0% 12.0 MB o");
    EXPECT_EQ(ProgressLine("1", "m", 1), "");

    const std::string complete = "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n";
    std::ostringstream terminal, pipe;
    CopyDisplay onTerminal(terminal, OutputMode::Text, 80);
    CopyDisplay elsewhere(pipe, OutputMode::Text, std::nullopt);
    for (CopyDisplay* display : {&onTerminal, &elsewhere}) {
        display->Show(String(Progress("", "2.0 MB of 1.000 GB, 00:00 elapsed")));
        display->Show(String(Progress("200", "512.0 MB of 1.000 GB, 00:01 elapsed")));
        display->Show(String(complete));
        display->EndLine();  // nothing left open
    }
    EXPECT_EQ(terminal.str(),
              "\r[                    ]   0% 2.0 MB of 1.000 GB, 00:00 elapsed\x1b[K"
              "\r[##########          ]  50% 512.0 MB of 1.000 GB, 00:01 elapsed\x1b[K\n" +
                  complete);
    EXPECT_EQ(pipe.str(), Progress("", "2.0 MB of 1.000 GB, 00:00 elapsed") +
                              Progress("200", "512.0 MB of 1.000 GB, 00:01 elapsed") + complete);
}

}  // namespace
}  // namespace qv::ctl
