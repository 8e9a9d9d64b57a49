#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvctl/Report.h"

namespace qv::ctl {
namespace {

using namespace std::string_literals;
using Fields = std::vector<std::pair<std::string_view, std::string_view>>;

// A body as a page may have it: NUL, an empty line of its own, a lone CR and
// LF, bytes above 127, and no line end at the close.
const std::string kBody = "<p>\0\r\n\r\n\x80\xff\xc3\xa9\r\x01\n"s;

TEST(QvctlReportTest, LinesEndAtTheFirstEmptyLineAndTheBodyIsTheRestByteForByte) {
    struct Case {
        const char* what;
        std::string text;
        std::string lines;
        std::optional<std::string> body;
    };
    const std::string pageLines =
        "Response: GetPageURL\r\nHTTPURL: http://h/\r\nHTTPStatus: 200\r\nHTTPError: 0\r\n";
    const Case cases[] = {
        {"page", pageLines + "\r\n" + kBody, pageLines, kBody},
        {"news", "Response: GetNews\r\nHTTPStatus: 404\r\nHTTPError: 0\r\n\r\nx",
         "Response: GetNews\r\nHTTPStatus: 404\r\nHTTPError: 0\r\n", "x"},
        {"headers only", pageLines + "\r\n", pageLines, ""},
        {"timeout report", "Response: GetNews\r\nHTTPError: 1\r\n", "Response: GetNews\r\nHTTPError: 1\r\n",
         std::nullopt},
        {"error report", "HTTPError: 102\r\n", "HTTPError: 102\r\n", std::nullopt},
        {"empty error report", "", "", std::nullopt},
        {"last line without its end", "A: 1\r\nB", "A: 1\r\nB", std::nullopt},
        {"empty first line", "\r\n\r\nbody", "", "\r\nbody"},
        {"CR before the empty line", "A\r\r\n\r\nb", "A\r\r\n", "b"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ReportParts parts = SplitReport(c.text);
        EXPECT_EQ(parts.lines, c.lines);
        EXPECT_EQ(parts.body, c.body);
    }
}

TEST(QvctlReportTest, FieldsAreCutAtTheFirstColonBlank) {
    struct Case {
        const char* what;
        std::string lines;
        Fields fields;
    };
    const Case cases[] = {
        {"report lines", "Response: Status\r\nHTTPError: \r\n", {{"Response", "Status"}, {"HTTPError", ""}}},
        {"value holding colon-blank", "Location: http://h/: x\r\n", {{"Location", "http://h/: x"}}},
        {"no colon-blank: all name", "Odd:line\r\nX: 1", {{"Odd:line", ""}, {"X", "1"}}},
        {"lone CR and LF stay inside", "A: 1\r2\n3\r\n", {{"A", "1\r2\n3"}}},
        {"nothing", "", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(ReportFields(c.lines), c.fields);
    }
}

}  // namespace
}  // namespace qv::ctl
