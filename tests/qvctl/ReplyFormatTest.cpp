#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "qvctl/ReplyFormat.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";

std::string Render(const std::string& text, OutputMode mode) {
    return RenderReply(String(text), mode);
}

struct Case {
    const char* what;
    std::string text;
    std::string expected;
};

void RunCases(OutputMode mode, std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Render(c.text, mode), c.expected);
    }
}

TEST(QvctlReplyFormatTest, TextIsTheBytesAsTheyAreEndedByALineBreak) {
    RunCases(OutputMode::Text, {
                                   {"status report", kStatusReport, kStatusReport},
                                   {"no line end", "HTTPError: 503", "HTTPError: 503\n"},
                                   {"ends in CR", "body\r", "body\r\n"},
                                   {"binary", "a\0b"s, "a\0b\n"s},
                                   {"empty", "", "\n"},
                               });
}

TEST(QvctlReplyFormatTest, RawMakesEveryByteVisible) {
    RunCases(OutputMode::Raw, {
                                  {"status report", kStatusReport,
                                   "Response: Status\\r\\n\nStatus: Ready\\r\\n\nHTTPError: \\r\\n\n"},
                                  {"body without line end", "HTTPStatus: 200\r\n\r\nab",
                                   "HTTPStatus: 200\\r\\n\n\\r\\n\nab\n"},
                                  {"lone CR and LF", "a\rb\nc", "a\\rb\\n\nc\n"},
                                  {"backslash stays distinguishable", "C:\\r", "C:\\\\r\n"},
                                  {"other control bytes", "\0\t\x1b\x7f"s, "\\x00\\x09\\x1B\\x7F\n"},
                                  {"high bytes pass", "\xc3\xa9\xff", "\xc3\xa9\xff\n"},
                                  {"empty", "", "\n"},
                              });
}

TEST(QvctlReplyFormatTest, JsonSplitsFieldsFromTheBody) {
    RunCases(
        OutputMode::Json,
        {
            {"status report", kStatusReport,
             R"({"fields":[{"name":"Response","value":"Status"},{"name":"Status","value":"Ready"},)"
             R"({"name":"HTTPError","value":""}],"body":""})"
             "\n"},
            {"page with NUL and an empty line in its body",
             "Response: GetPageURL\r\nHTTPStatus: 200\r\n\r\na\0\r\n\r\nb"s,
             R"({"fields":[{"name":"Response","value":"GetPageURL"},{"name":"HTTPStatus","value":"200"}],)"
             R"("body":"YQANCg0KYg=="})"
             "\n"},
            {"headers only: ends with the empty line", "Response: GetHeadersURL\r\nX-A: 1\r\n\r\n",
             R"({"fields":[{"name":"Response","value":"GetHeadersURL"},{"name":"X-A","value":"1"}],"body":""})"
             "\n"},
            {"value cut at the first colon-blank only", "Location: http://h/: x\r\n",
             R"({"fields":[{"name":"Location","value":"http://h/: x"}],"body":""})"
             "\n"},
            {"line without colon-blank is all name", "Odd:line\r\nHTTPError: 503",
             R"({"fields":[{"name":"Odd:line","value":""},{"name":"HTTPError","value":"503"}],"body":""})"
             "\n"},
            {"empty first line: all body", "\r\n\0\x01\xff"s,
             R"({"fields":[],"body":"AAH/"})"
             "\n"},
            {"empty", "",
             R"({"fields":[],"body":""})"
             "\n"},
        });
}

TEST(QvctlReplyFormatTest, JsonEscapesNamesAndValues) {
    struct Escape {
        const char* what;
        std::string value;
        std::string json;
    };
    const Escape cases[] = {
        {"quote and backslash", R"(say "a\b")", R"("say \"a\\b\"")"},
        {"lone CR, LF, tab, NUL", "a\rb\nc\td\0e"s, R"("a\u000Db\u000Ac\u0009d\u0000e")"},
        {"escape and unit separator", "\x1b\x1f", R"("\u001B\u001F")"},
        {"valid UTF-8 passes", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
         "\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\""},
        {"Latin-1 byte", "caf\xe9!", R"("caf\ufffd!")"},
        {"truncated sequence", "\xe2\x82", R"("\ufffd\ufffd")"},
        {"overlong form", "\xc0\xaf", R"("\ufffd\ufffd")"},
        {"surrogate", "\xed\xa0\x80", R"("\ufffd\ufffd\ufffd")"},
        {"beyond U+10FFFF", "\xf4\x90\x80\x80", R"("\ufffd\ufffd\ufffd\ufffd")"},
    };
    for (const Escape& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Render("N: " + c.value + "\r\n", OutputMode::Json),
                  R"({"fields":[{"name":"N","value":)" + c.json + R"(}],"body":""})" + "\n");
        EXPECT_EQ(Render(c.value + ": v\r\n", OutputMode::Json),
                  R"({"fields":[{"name":)" + c.json + R"(,"value":"v"}],"body":""})" + "\n");
    }
}

}  // namespace
}  // namespace qv::ctl
