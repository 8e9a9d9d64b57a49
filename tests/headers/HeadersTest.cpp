#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Exceptions.h"
#include "headers/InternetHeaders.h"

namespace qv {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

// The table as the response report walks it: Name(i) and Value(i) by position.
Entries Walk(const InternetHeaders& headers) {
    Entries entries;
    for (std::int32_t i = 0; i < headers.Count(); ++i) entries.emplace_back(headers.Name(i).Bytes(), headers.Value(i).Bytes());
    return entries;
}

InternetHeaders Parsed(std::string_view text) {
    InternetHeaders headers;
    headers._ParseHeaders(String(text));
    return headers;
}

// Three values of A, with B between the first two.
InternetHeaders ThreeOfA() { return Parsed("A: 1\r\nB: 2\r\nA: 3\r\nA: 4"); }

TEST(InternetHeadersTest, ParsingUnfoldsAndSkipsLinesWithoutAColonByTheFirstLineEndFound) {
    const std::pair<std::string_view, Entries> cases[] = {
        {"Subject: one\r\n\ttwo\r\n   three\r\nX: a\r\n b", {{"Subject", "one two   three"}, {"X", "a b"}}},
        {"A: 1\rB: 2", {{"A", "1"}, {"B", "2"}}}, {"X:y:z", {{"X", "y:z"}}},
        {" X: 1\nX : 2", {{" X", "1"}, {"X ", "2"}}}, {": 1", {{"", "1"}}}, {"X: \t value \t", {{"X", "value \t"}}},
        {"HTTP/1.1 200 OK\r\nA: 1\r\n\r\nB: 2\r\njunk\r\n", {{"A", "1"}, {"B", "2"}}},
        {"GET http://h/ HTTP/1.0\nA: 1", {{"GET http", "//h/ HTTP/1.0"}, {"A", "1"}}},
        // One CR LF anywhere makes it the line end, so a bare LF stays inside a value.
        {"A: 1\nB: 2\r\nC: 3", {{"A", "1\nB: 2"}, {"C", "3"}}},
    };
    for (const auto& [text, entries] : cases) EXPECT_EQ(Walk(Parsed(text)), entries) << text;

    const std::pair<std::string_view, std::string_view> eols[] = {
        {"a\nb\rc\r\n", "\r\n"}, {"a\nb\rc", "\n"}, {"a\n\rb", "\n"}, {"a\rb", "\r"}, {"ab", "\r\n"}};
    for (const auto& [text, eol] : eols) EXPECT_EQ(InternetHeaders::_DetermineEOLCharacter(String(text)).Bytes(), eol);

    // A new parse replaces the table; the source stays what was parsed last.
    InternetHeaders headers = ThreeOfA();
    headers._ParseHeaders("A: 3");
    EXPECT_EQ(Walk(headers), (Entries{{"A", "3"}}));
    headers.AppendHeader("B", "2");
    headers.DeleteAllHeaders();
    EXPECT_EQ(headers.Source().Bytes(), "A: 3");
    headers._ParseHeaders("");  // an empty text counts as none
    headers.AppendHeader("C", "5");
    headers.AppendHeader("c", "6");
    EXPECT_EQ(headers.Source().Bytes(), "C: 5\r\nc: 6");
}

TEST(InternetHeadersTest, SettingDeletingAndAppendingKeepTheNumberingRules) {
    using Change = void (*)(InternetHeaders&);
    const struct {
        const char* what;
        Change change;
        Entries walk;
        std::string csv, keyOfAnAppend;  // an append takes the lowest free number
    } cases[] = {
        {"nothing", [](InternetHeaders&) {}, {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}}, "1, 3, 4", "A:3"},
        {"set without index: one value", [](InternetHeaders& h) { h.SetHeader("a", "9"); }, {{"B", "2"}, {"a", "9"}}, "9",
         "A:1"},
        {"set without index on two values", [](InternetHeaders& h) { h.Delete("A", 2), h.SetHeader("a", "9"); },
         {{"B", "2"}, {"a", "9"}}, "9", "A:1"},
        {"set index 0: the first only", [](InternetHeaders& h) { h.SetHeader("A", "x", 0); },
         {{"A", "x"}, {"B", "2"}, {"A", "3"}, {"A", "4"}}, "x, 3, 4", "A:3"},
        {"set beyond the end: a gap NameCount stops at", [](InternetHeaders& h) { h.SetHeader("A", "x", 5); },
         {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}, {"A", "x"}}, "1, 3, 4", "A:3"},
        {"a negative index is a suffix of its own", [](InternetHeaders& h) { h.SetHeader("A", "x", -1); },
         {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}, {"A", "x"}}, "1, 3, 4", "A:3"},
        {"delete index 0: the later ones move down, under the name as given", [](InternetHeaders& h) { h.Delete("a", 0); },
         {{"B", "2"}, {"a", "3"}, {"a", "4"}}, "3, 4", "A:2"},
        {"delete a missing index changes nothing", [](InternetHeaders& h) { h.Delete("A", 3); },
         {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}}, "1, 3, 4", "A:3"},
        {"a freed index is taken again", [](InternetHeaders& h) { h.Delete("A", 2), h.SetHeader("A", "x", 5); },
         {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "x"}}, "1, 3", "A:2"},
        {"delete the name stops at a gap", [](InternetHeaders& h) { h.SetHeader("A", "behind", 4), h.Delete("A"); },
         {{"B", "2"}, {"A", "behind"}}, "", "A"},
        {"the table emptied", [](InternetHeaders& h) { h.DeleteAllHeaders(); }, {}, "", "A"},
    };
    for (const auto& c : cases) {
        InternetHeaders headers = ThreeOfA();
        c.change(headers);
        EXPECT_EQ(Walk(headers), c.walk) << c.what;
        EXPECT_EQ(headers.CommaSeparatedValues("A").Bytes(), c.csv) << c.what;
        headers.AppendHeader("A", "new");
        EXPECT_EQ(headers.Value(String(c.keyOfAnAppend)).Bytes(), "new") << c.what;
    }
    const InternetHeaders headers = ThreeOfA();  // by name and number, and by position
    EXPECT_EQ(headers.NameCount("a"), 3);
    EXPECT_EQ(headers.Value("a", 1).Bytes(), "3");
    EXPECT_EQ(headers.Value("A", -1).Bytes(), "1");
    EXPECT_TRUE(headers.Value("A", 3).IsEmpty());
    EXPECT_TRUE(headers.Value(4).IsEmpty() && headers.Value(INT32_MAX).IsEmpty());
    EXPECT_THROW(headers.Value(-1), OutOfBoundsException);
    EXPECT_THROW(headers.Name(4), OutOfBoundsException);
    // The empty name is a name like any other, also when its first value goes.
    InternetHeaders unnamed = Parsed(": 1\r\n: 2\r\n: 3");
    unnamed.Delete("", 0);
    EXPECT_EQ(Walk(unnamed), (Entries{{"", "2"}, {"", "3"}}));

    std::string text;
    for (int i = 0; i < 100'000; ++i) text += "X: " + std::to_string(i) + "\r\n";
    const InternetHeaders many = Parsed(text);
    EXPECT_EQ(many.NameCount("x"), 100'000);
    EXPECT_EQ(many.Value("X", 99'999).Bytes(), "99999");
}

TEST(InternetHeadersTest, FormattersWriteHttpInTableOrderAndMailInItsFixedOrder) {
    InternetHeaders headers;
    for (const auto& [name, value] : std::vector<std::pair<String, String>>{
             {"X", "1"}, {"cc", "c1"}, {"to", "t"}, {"Bcc", "hidden"}, {"from", "f"}, {"subject", "s"}, {"date", "d"},
             {"received", "r0"}, {"return-path", "p"}, {"cc", "c2"}, {"Received", "r1"}, {"To", "t2"}, {"Subject", "s2"}}) {
        headers.AppendHeader(name, value);
    }
    EXPECT_EQ(headers._FormatHTTPHeaders().Bytes(),
              "X: 1\r\ncc: c1\r\nto: t\r\nBcc: hidden\r\nfrom: f\r\nsubject: s\r\ndate: d\r\nreceived: r0\r\n"
              "return-path: p\r\ncc: c2\r\nReceived: r1\r\nTo: t2\r\nSubject: s2");
    // Fixed steps in their own spelling, To and CC joined, BCC never, the rest behind in table order.
    EXPECT_EQ(headers._FormatEmailHeaders().Bytes(),
              "Return-Path: p\r\nReceived: r0\r\nReceived: r1\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: t, t2\r\n"
              "CC: c1, c2\r\nX: 1");
    headers.SetHeader("To", "after gap", 3);
    headers.SetHeader("Y", "after gap", 2);
    EXPECT_TRUE(headers._FormatEmailHeaders().Bytes().ends_with("To: t, t2\r\nCC: c1, c2\r\nX: 1\r\nY: after gap"));
    EXPECT_EQ(InternetHeaders()._FormatHTTPHeaders().Bytes(), "");
    InternetHeaders one;
    one.AppendHeader("to", "a");
    EXPECT_EQ(one._FormatEmailHeaders().Bytes(), "To: a");
}

}  // namespace
}  // namespace qv
