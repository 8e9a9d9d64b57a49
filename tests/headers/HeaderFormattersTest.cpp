#include <gtest/gtest.h>

#include <string_view>
#include <utility>
#include <vector>

#include "headers/InternetHeaders.h"

namespace qv {
namespace {

using Appends = std::vector<std::pair<std::string_view, std::string_view>>;

InternetHeaders Appended(const Appends& appends) {
    InternetHeaders headers;
    for (const auto& [name, value] : appends) headers.AppendHeader(String(name), String(value));
    return headers;
}

struct Case {
    std::string_view what;
    Appends appends;
    std::string_view expected;
};

TEST(HeaderFormatters, HttpHeadersInTableOrder) {
    const Case cases[] = {
        {"empty table", {}, ""},
        {"one line, no line end behind it", {{"Host", "h"}}, "Host: h"},
        {"repeats under their bare name where they stand",
         {{"Accept", "*/*"}, {"Host", "h:8080"}, {"accept", "text/html"}},
         "Accept: */*\r\nHost: h:8080\r\naccept: text/html"},
        {"values as they stand", {{"X", ""}, {"", " y\t"}}, "X: \r\n:  y\t"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Appended(c.appends)._FormatHTTPHeaders().Bytes(), c.expected);
    }
}

TEST(HeaderFormatters, EmailHeadersInTheirFixedOrder) {
    const Case cases[] = {
        {"empty table", {}, ""},
        {"To joined, whatever the insertion order",
         {{"X-Mailer", "m"}, {"To", "a"}, {"Date", "d"}, {"To", "b"}},
         "Date: d\r\nTo: a, b\r\nX-Mailer: m"},
        {"every fixed step, names in their own spelling",
         {{"cc", "c1"},
          {"to", "t"},
          {"from", "f"},
          {"subject", "s"},
          {"date", "d"},
          {"received", "r"},
          {"return-path", "p"},
          {"cc", "c2"}},
         "Return-Path: p\r\nReceived: r\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: t\r\nCC: c1, c2"},
        {"a line for each Received, index 0 first",
         {{"Received", "r0"}, {"Received", "r1"}, {"Received", "r2"}},
         "Received: r0\r\nReceived: r1\r\nReceived: r2"},
        {"only the first value of a single-value name",
         {{"Return-Path", "p1"}, {"Return-Path", "p2"}, {"Subject", "s1"}, {"Subject", "s2"}},
         "Return-Path: p1\r\nSubject: s1"},
        {"names that merely contain, begin or end a listed name",
         {{"Dates", "1"}, {"X-To", "2"}, {"Return", "3"}, {"Path", "4"}},
         "Dates: 1\r\nX-To: 2\r\nReturn: 3\r\nPath: 4"},
        {"the empty name", {{"", "v"}}, ": v"},
        {"BCC alone", {{"BCC", "hidden"}, {"bcc", "hidden too"}}, ""},
        {"BCC among others", {{"To", "a"}, {"Bcc", "hidden"}, {"X", "1"}}, "To: a\r\nX: 1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Appended(c.appends)._FormatEmailHeaders().Bytes(), c.expected);
    }
}

TEST(HeaderFormatters, EmailHeadersStopAtAGapAndKeepWhatIsBehindIt) {
    InternetHeaders headers = Appended({{"To", "a"}, {"Received", "r0"}});
    headers.SetHeader("To", "after gap", 2);
    headers.SetHeader("Received", "after gap", 2);
    headers.SetHeader("X", "after gap", 2);
    EXPECT_EQ(headers._FormatEmailHeaders().Bytes(), "Received: r0\r\nTo: a\r\nX: after gap");
}

}  // namespace
}  // namespace qv
