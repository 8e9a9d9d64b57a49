#include <gtest/gtest.h>

#include <string>

#include "qvctl/FetchReply.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;

const std::string kLines =
    "Response: GetPageURL\r\nHTTPURL: http://h/x\r\nHTTPStatus: 200\r\nHTTPError: 0\r\nServer: t\r\n";
const std::string kBody = "\x89PNG\0\r\n\r\n\xfe\xff"s;

TEST(QvctlFetchReplyTest, PagesAreDeliveredWhateverTheirStatusAndFailuresAreNot) {
    struct Case {
        const char* what;
        std::string text;
        bool delivered;
    };
    const Case cases[] = {
        {"page", kLines + "\r\n" + kBody, true},
        {"headers only", kLines + "\r\n", true},
        {"not found", "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPStatus: 404\r\nHTTPError: 0\r\n\r\n<h1>",
         true},
        {"news", "Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 0\r\n\r\nok", true},
        {"connection ended before any header",
         "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPStatus: \r\nHTTPError: 0\r\n\r\n", true},
        {"timeout report", "Response: GetPageURL\r\nHTTPURL: u\r\nHTTPError: 1\r\n", false},
        {"news timeout report", "Response: GetNews\r\nHTTPError: 1\r\n", false},
        {"error report", "HTTPError: 102\r\n", false},
        {"error report of code 0", "HTTPError: 0\r\n", false},
        {"empty error report", "", false},
        {"a server's own HTTPError header does not count",
         "Response: GetNews\r\nHTTPStatus: 200\r\nHTTPError: 1\r\nHTTPError: 0\r\n\r\n", false},
    };
    for (const OutputMode mode : {OutputMode::Text, OutputMode::Raw, OutputMode::Json}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            EXPECT_EQ(RenderFetchReply(String(c.text), mode).delivered, c.delivered);
        }
    }
}

TEST(QvctlFetchReplyTest, LinesGoOneWayAndTheRawBodyTheOther) {
    struct Case {
        const char* what;
        std::string text;
        OutputMode mode;
        std::string lines;
        std::string body;
    };
    const Case cases[] = {
        {"page as text", kLines + "\r\n" + kBody, OutputMode::Text, kLines, kBody},
        {"page with --raw: only the lines are made visible",
         "HTTPStatus: 200\r\nHTTPError: 0\r\n\r\n" + kBody, OutputMode::Raw,
         "HTTPStatus: 200\\r\\n\nHTTPError: 0\\r\\n\n", kBody},
        {"headers only", kLines + "\r\n", OutputMode::Text, kLines, ""},
        {"timeout report", "Response: GetNews\r\nHTTPError: 1\r\n", OutputMode::Text,
         "Response: GetNews\r\nHTTPError: 1\r\n", ""},
        {"error report", "HTTPError: 102\r\n", OutputMode::Raw, "HTTPError: 102\\r\\n\n", ""},
        {"json: all on one line for standard output", "HTTPError: 0\r\n\r\n\0\xff"s, OutputMode::Json, "",
         R"({"fields":[{"name":"HTTPError","value":"0"}],"body":"AP8="})"
         "\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const FetchPrintout printout = RenderFetchReply(String(c.text), c.mode);
        EXPECT_EQ(printout.lines, c.lines);
        EXPECT_EQ(printout.body, c.body);
    }
}

}  // namespace
}  // namespace qv::ctl
