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
    for (std::int32_t i = 0; i < headers.Count(); ++i) {
        entries.emplace_back(headers.Name(i).Bytes(), headers.Value(i).Bytes());
    }
    return entries;
}

InternetHeaders Parsed(std::string_view text) {
    InternetHeaders headers;
    headers._ParseHeaders(String(text));
    return headers;
}

// Three values of A, with B between the first two.
InternetHeaders ThreeOfA() {
    return Parsed("A: 1\r\nB: 2\r\nA: 3\r\nA: 4");
}

TEST(InternetHeadersParse, LinesBecomeEntries) {
    struct Case {
        std::string_view text;
        Entries expected;
    };
    const Case cases[] = {
        {"A: 1\r\nB: 2\r\nA: 3", {{"A", "1"}, {"B", "2"}, {"A", "3"}}},
        {"Host: example.com", {{"Host", "example.com"}}},
        {"Subject: one\n two", {{"Subject", "one two"}}},
        {"Subject: one\r\n\ttwo\r\n   three", {{"Subject", "one two   three"}}},
        {"A: 1\rB: 2", {{"A", "1"}, {"B", "2"}}},
        {"X:y:z", {{"X", "y:z"}}},
        {"X:", {{"X", ""}}},
        {" X: 1\nX : 2", {{" X", "1"}, {"X ", "2"}}},
        {": 1", {{"", "1"}}},
        {"X: \t value \t", {{"X", "value \t"}}},
        {"HTTP/1.1 200 OK\r\nA: 1\r\n\r\nB: 2\r\njunk\r\n", {{"A", "1"}, {"B", "2"}}},
        // A request line with a colon in it is taken for a header.
        {"GET http://h/ HTTP/1.0\nA: 1", {{"GET http", "//h/ HTTP/1.0"}, {"A", "1"}}},
        // One CR LF makes it the line end, so the bare LF stays inside a value.
        {"A: 1\nB: 2\r\nC: 3", {{"A", "1\nB: 2"}, {"C", "3"}}},
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "text: " << testing::PrintToString(std::string(c.text)));
        EXPECT_EQ(Walk(Parsed(c.text)), c.expected);
    }
}

TEST(InternetHeadersParse, ReplacesEarlierEntriesButNotByAppending) {
    InternetHeaders headers = Parsed("A: 1\r\nB: 2");
    headers._ParseHeaders("A: 3");
    EXPECT_EQ(Walk(headers), (Entries{{"A", "3"}}));
    EXPECT_EQ(headers.NameCount("A"), 1);
}

TEST(InternetHeadersParse, LineEndDetectionOrder) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"a\r\nb", "\r\n"}, {"a\nb\rc\r\n", "\r\n"}, {"a\nb\rc", "\n"}, {"a\n\rb", "\n"},
        {"a\rb", "\r"},     {"ab", "\r\n"},          {"", "\r\n"},
    };
    for (const auto& [text, eol] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(text)));
        EXPECT_EQ(InternetHeaders::_DetermineEOLCharacter(String(text)).Bytes(), eol);
    }
}

TEST(InternetHeadersRead, RepeatedNamesByNameAndByIndex) {
    const InternetHeaders headers = ThreeOfA();
    EXPECT_EQ(headers.Count(), 4);
    EXPECT_EQ(headers.NameCount("A"), 3);
    EXPECT_EQ(headers.NameCount("a"), 3);
    EXPECT_EQ(headers.NameCount("B"), 1);
    EXPECT_EQ(headers.NameCount("C"), 0);
    EXPECT_EQ(headers.Value("A").Bytes(), "1");
    EXPECT_EQ(headers.Value("a", 1).Bytes(), "3");
    EXPECT_EQ(headers.Value("A", 2).Bytes(), "4");
    EXPECT_EQ(headers.Value("A", -1).Bytes(), "1");
    EXPECT_EQ(headers.Value("A", 3).Bytes(), "");
    EXPECT_EQ(headers.Value("C").Bytes(), "");
    EXPECT_EQ(headers.CommaSeparatedValues("A").Bytes(), "1, 3, 4");
    EXPECT_EQ(headers.CommaSeparatedValues("b").Bytes(), "2");
    EXPECT_EQ(headers.CommaSeparatedValues("C").Bytes(), "");
}

TEST(InternetHeadersRead, PositionsOutsideTheTable) {
    const InternetHeaders headers = ThreeOfA();
    EXPECT_EQ(headers.Value(4).Bytes(), "");
    EXPECT_EQ(headers.Value(INT32_MAX).Bytes(), "");
    EXPECT_THROW(headers.Value(-1), OutOfBoundsException);
    EXPECT_THROW(headers.Name(4), OutOfBoundsException);
    EXPECT_THROW(headers.Name(-1), OutOfBoundsException);
    EXPECT_EQ(InternetHeaders().Value(0).Bytes(), "");
}

TEST(InternetHeadersChange, SetHeaderWithoutIndexLeavesOneValue) {
    InternetHeaders headers = ThreeOfA();
    headers.SetHeader("a", "9");
    EXPECT_EQ(Walk(headers), (Entries{{"B", "2"}, {"a", "9"}}));

    headers.SetHeader("B", "8");
    EXPECT_EQ(Walk(headers), (Entries{{"B", "8"}, {"a", "9"}}));
    headers.SetHeader("C", "7");
    EXPECT_EQ(Walk(headers), (Entries{{"B", "8"}, {"a", "9"}, {"C", "7"}}));
}

TEST(InternetHeadersChange, SetHeaderWithIndex) {
    struct Case {
        std::int32_t index;
        Entries walk;
        std::int32_t nameCount;
        std::string csv;
    };
    const Case cases[] = {
        // Index 0 replaces only the first value, unlike SetHeader without index.
        {0, {{"A", "x"}, {"B", "2"}, {"A", "3"}, {"A", "4"}}, 3, "x, 3, 4"},
        {2, {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "x"}}, 3, "1, 3, x"},
        {3, {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}, {"A", "x"}}, 4, "1, 3, 4, x"},
        // Beyond the end: a gap that NameCount stops at.
        {5, {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}, {"A", "x"}}, 3, "1, 3, 4"},
        // A negative index is a suffix of its own, out of reach of Value by name.
        {-1, {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"A", "4"}, {"A", "x"}}, 3, "1, 3, 4"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "index " << c.index);
        InternetHeaders headers = ThreeOfA();
        headers.SetHeader("A", "x", c.index);
        EXPECT_EQ(Walk(headers), c.walk);
        EXPECT_EQ(headers.NameCount("A"), c.nameCount);
        EXPECT_EQ(headers.CommaSeparatedValues("A").Bytes(), c.csv);
        if (c.index > 0) {
            EXPECT_EQ(headers.Value("A", c.index).Bytes(), "x");
        }
    }
}

TEST(InternetHeadersChange, DeleteOneValueClosesTheGap) {
    struct Case {
        std::int32_t index;
        std::string csv;
        std::int32_t count;
    };
    // Indexes 3 and -1 name no value: nothing changes.
    const Case cases[] = {
        {0, "3, 4", 3}, {1, "1, 4", 3}, {2, "1, 3", 3}, {3, "1, 3, 4", 4}, {-1, "1, 3, 4", 4}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "index " << c.index);
        InternetHeaders headers = ThreeOfA();
        headers.Delete("a", c.index);
        EXPECT_EQ(headers.CommaSeparatedValues("A").Bytes(), c.csv);
        EXPECT_EQ(headers.Count(), c.count);
        EXPECT_EQ(headers.Value("B").Bytes(), "2");
    }
}

TEST(InternetHeadersChange, DeleteStopsAtAGap) {
    InternetHeaders headers = Parsed("A: 1\r\nA: 2");
    headers.SetHeader("A", "behind", 3);
    headers.SetHeader("A", "negative", -1);

    headers.Delete("A", 0);
    EXPECT_EQ(headers.CommaSeparatedValues("A").Bytes(), "2");
    EXPECT_EQ(headers.Value("A", 3).Bytes(), "behind");

    // Only index 0 to NameCount - 1 go; the values behind the gap stay.
    headers.Delete("A");
    EXPECT_EQ(headers.NameCount("A"), 0);
    EXPECT_EQ(Walk(headers), (Entries{{"A", "behind"}, {"A", "negative"}}));

    headers.Delete("A", -1);
    EXPECT_EQ(Walk(headers), (Entries{{"A", "behind"}}));
    headers.Delete("Missing");
    headers.Delete("Missing", 0);
    EXPECT_EQ(headers.Count(), 1);
}

TEST(InternetHeadersChange, AnAppendTakesTheLowestFreeNumberAfterAnyDelete) {
    struct Case {
        const char* what;
        void (*change)(InternetHeaders&);
        std::string keyOfTheAppend;
    };
    const Case cases[] = {
        {"nothing deleted", [](InternetHeaders&) {}, "A:3"},
        {"all deleted", [](InternetHeaders& h) { h.Delete("a"); }, "A"},
        {"one moved down", [](InternetHeaders& h) { h.Delete("A", 1); }, "A:2"},
        {"one index freed", [](InternetHeaders& h) { h.Delete("A", 2); h.SetHeader("A", "x", 5); }, "A:2"},
        {"all replaced", [](InternetHeaders& h) { h.SetHeader("A", "only"); }, "A:1"},
        {"the table emptied", [](InternetHeaders& h) { h.DeleteAllHeaders(); }, "A"},
    };
    for (const Case& c : cases) {
        InternetHeaders headers = ThreeOfA();
        c.change(headers);
        headers.AppendHeader("A", "new");
        EXPECT_EQ(headers.Value(String(c.keyOfTheAppend)).Bytes(), "new") << c.what;
    }
}

TEST(InternetHeadersParse, AHundredThousandRepeatsOfOneNameAreAllKept) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) text += "X: " + std::to_string(i) + "\r\n";
    const InternetHeaders headers = Parsed(text);
    EXPECT_EQ(headers.NameCount("x"), 100'000);
    EXPECT_EQ(headers.Value("X", 99'999).Bytes(), "99999");
}

TEST(InternetHeadersSource, KeepsTheParsedTextWhateverChanges) {
    const std::string_view text = "HTTP/1.0 200 OK\r\nSubject: one\r\n two\r\nA: 1\r\n";
    InternetHeaders headers = Parsed(text);
    headers.AppendHeader("B", "2");
    headers.SetHeader("A", "3");
    headers.Delete("Subject");
    EXPECT_EQ(headers.Source().Bytes(), text);

    headers.DeleteAllHeaders();
    EXPECT_EQ(headers.Count(), 0);
    EXPECT_EQ(headers.Source().Bytes(), text);

    headers._ParseHeaders("C: 4");
    EXPECT_EQ(headers.Source().Bytes(), "C: 4");
}

TEST(InternetHeadersSource, BuiltFromTheTableWhenNothingWasParsed) {
    InternetHeaders headers;
    EXPECT_EQ(headers.Source().Bytes(), "");
    headers.AppendHeader("A", "1");
    headers.AppendHeader("B", "");
    headers.AppendHeader("a", "3");
    EXPECT_EQ(headers.Source().Bytes(), "A: 1\r\nB: \r\na: 3");

    // An empty text counts as none.
    headers._ParseHeaders("");
    headers.AppendHeader("C", "5");
    EXPECT_EQ(headers.Source().Bytes(), "C: 5");
}

}  // namespace
}  // namespace qv
