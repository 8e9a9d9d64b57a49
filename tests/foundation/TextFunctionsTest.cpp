#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/TextFunctions.h"

namespace qv {
namespace {

// "h", "é", "€": three characters in six bytes.
const std::string_view kThreeCharacters = "h\xC3\xA9\xE2\x82\xAC";

String Utf8(std::string_view bytes) {
    return String(bytes, Encoding::UTF8);
}

std::vector<std::string_view> BytesOf(const std::vector<String>& strings) {
    std::vector<std::string_view> bytes;
    for (const String& s : strings) bytes.push_back(s.Bytes());
    return bytes;
}

TEST(TextFunctions, MidLeftRightOnBytes) {
    constexpr std::int32_t kToEnd = -99;
    struct Case {
        std::int32_t start;
        std::int32_t length;
        std::string_view expected;
    };
    const Case cases[] = {
        {2, kToEnd, "bc"},  {4, kToEnd, ""}, {2, 1, "b"},  {2, -3, ""},           {2, 0, ""},
        {0, kToEnd, "abc"}, {-5, 2, "ab"},   {3, 10, "c"}, {1, INT32_MAX, "abc"}, {INT32_MAX, 1, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "start " << c.start << " length " << c.length);
        EXPECT_EQ((c.length == kToEnd ? Mid("abc", c.start) : Mid("abc", c.start, c.length)).Bytes(),
                  c.expected);
        EXPECT_EQ((c.length == kToEnd ? MidB("abc", c.start) : MidB("abc", c.start, c.length)).Bytes(),
                  c.expected);
    }
    EXPECT_EQ(Left("abc", 2).Bytes(), "ab");
    EXPECT_EQ(Left("abc", 9).Bytes(), "abc");
    EXPECT_EQ(Left("abc", -1).Bytes(), "");
    EXPECT_EQ(Right("abc", 2).Bytes(), "bc");
    EXPECT_EQ(Right("abc", 9).Bytes(), "abc");
    EXPECT_EQ(Right("abc", 0).Bytes(), "");
}

TEST(TextFunctions, CharacterFunctionsCountCharactersOnlyOfUtf8Text) {
    const String marked = Utf8(kThreeCharacters);
    const String unmarked(kThreeCharacters);

    EXPECT_EQ(Len(marked), 3);
    EXPECT_EQ(LenB(marked), 6);
    EXPECT_EQ(Len(unmarked), 6);
    EXPECT_EQ(Len(""), 0);

    EXPECT_EQ(Mid(marked, 2, 1).Bytes(), "\xC3\xA9");
    EXPECT_EQ(Mid(marked, 3).Bytes(), "\xE2\x82\xAC");
    EXPECT_EQ(Mid(marked, 4).Bytes(), "");
    EXPECT_EQ(Left(marked, 2).Bytes(), "h\xC3\xA9");
    EXPECT_EQ(Right(marked, 1).Bytes(), "\xE2\x82\xAC");
    EXPECT_EQ(Right(marked, 3).Bytes(), kThreeCharacters);
    EXPECT_EQ(Mid(unmarked, 2, 1).Bytes(), "\xC3");
    EXPECT_EQ(Right(unmarked, 1).Bytes(), "\xAC");

    EXPECT_EQ(MidB(marked, 2, 2).Bytes(), "\xC3\xA9");
    EXPECT_EQ(MidB(marked, 3).Bytes(), "\xA9\xE2\x82\xAC");

    EXPECT_EQ(Mid(marked, 2, 1).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(MidB(marked, 2, 1).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(Left(unmarked, 2).GetEncoding(), Encoding::None);
}

TEST(TextFunctions, MalformedUtf8StillHasCharacters) {
    // Stray continuation bytes ride with the character before them, and the
    // first byte always starts one, so non-empty text never has length 0.
    const String text = Utf8(
        "\x80\x80"
        "a\xFF");
    EXPECT_EQ(Len(text), 3);
    EXPECT_EQ(Left(text, 1).Bytes(), "\x80\x80");
    EXPECT_EQ(Mid(text, 2).Bytes(), "a\xFF");
    EXPECT_EQ(Right(text, 3).Bytes(), text.Bytes());
    EXPECT_EQ(Len(Utf8("\xC3")), 1);
}

TEST(TextFunctions, InStr) {
    struct Case {
        std::int32_t start;
        std::string_view text;
        std::string_view find;
        std::int32_t expected;
    };
    const Case cases[] = {
        {0, "abc", "z", 0},
        {0, "abcabc", "B", 2},
        {3, "abcabc", "b", 5},
        {6, "abcabc", "b", 0},
        {-4, "abc", "a", 1},
        {0, "abc", "C", 3},
        {0, "abc", "abcd", 0},
        {0, "abc", "", 0},
        {0, "", "a", 0},
        {0, "AxAB", "ab", 3},
        {0, "axab", "AB", 3},
        {0, "aaAaB", "AAB", 3},
        {0, "a[b", "{", 0},  // only letters fold
        {0, "\xC3\xA9", "\xC3\x89", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << " '" << c.text << "' '" << c.find << "'");
        EXPECT_EQ(InStr(c.start, c.text, c.find), c.expected);
    }
}

TEST(TextFunctions, InStrCountsCharactersOfUtf8Text) {
    const String marked = Utf8(std::string(kThreeCharacters) + "x\xE2\x82\xAC");
    EXPECT_EQ(InStr(0, marked, "X"), 4);
    EXPECT_EQ(InStr(0, marked, "\xE2\x82\xAC"), 3);
    EXPECT_EQ(InStr(4, marked, "\xE2\x82\xAC"), 5);
    EXPECT_EQ(InStr(0, String(marked.Bytes()), "x"), 7);
    // A match that starts inside a character reports that character.
    EXPECT_EQ(InStr(0, marked, "\xA9"), 2);
}

TEST(TextFunctions, InStrFindsMatchesFarIntoLargeText) {
    // Many near misses on both letter cases of the first byte before the match.
    std::string page;
    for (int i = 0; i < 250'000; ++i) page += "bOuNdAr-BoUnDaR-";
    page += "BoundarY";
    page.append(3'000'000, 'z');
    const String text(std::move(page));
    EXPECT_EQ(InStr(0, text, "boundary"), 4'000'001);
    EXPECT_EQ(InStr(0, text, "boundaryz"), 4'000'001);
    EXPECT_EQ(InStr(0, text, "boundaryy"), 0);
    EXPECT_EQ(InStr(0, text, "zzz"), 4'000'009);
}

TEST(TextFunctions, Fields) {
    struct Case {
        std::string_view text;
        std::string_view separator;
        std::vector<std::string_view> fields;
    };
    const Case cases[] = {
        {"a:b", ":", {"a", "b"}},
        {"ab", ":", {"ab"}},
        {"", ":", {""}},
        {":", ":", {"", ""}},
        {"a::b:", ":", {"a", "", "b", ""}},
        {"a\r\nb\r\n", "\r\n", {"a", "b", ""}},
        {"aXbxc", "x", {"a", "b", "c"}},
        {"aaaaa", "aa", {"", "", "a"}},
        {"abc", "", {"abc"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "'" << c.text << "' by '" << c.separator << "'");
        const auto count = static_cast<std::int32_t>(c.fields.size());
        EXPECT_EQ(CountFields(c.text, c.separator), count);
        EXPECT_EQ(BytesOf(Split(c.text, c.separator)), c.fields);
        for (std::int32_t n = 1; n <= count; ++n) {
            EXPECT_EQ(NthField(c.text, c.separator, n).Bytes(), c.fields[n - 1]) << "field " << n;
        }
        EXPECT_EQ(NthField(c.text, c.separator, 0).Bytes(), "");
        EXPECT_EQ(NthField(c.text, c.separator, count + 1).Bytes(), "");
    }
}

TEST(TextFunctions, ReplaceAll) {
    struct Case {
        std::string_view text;
        std::string_view find;
        std::string_view replacement;
        std::string_view expected;
    };
    const Case cases[] = {
        {"a.b.c", ".", "-", "a-b-c"}, {"aaa", "a", "aa", "aaaaaa"}, {"aaaa", "aa", "a", "aa"},
        {"abc", "", "x", "abc"},      {"abc", "z", "x", "abc"},     {"xAbXab", "ab", "_", "x_X_"},
        {"abc", "ABC", "", ""},       {"a+b", "+", "%20", "a%20b"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "'" << c.text << "' '" << c.find << "' '" << c.replacement << "'");
        EXPECT_EQ(ReplaceAll(c.text, c.find, c.replacement).Bytes(), c.expected);
    }
}

TEST(TextFunctions, ReplaceAllMarksLikeJoining) {
    const String text("a-b");
    EXPECT_EQ(ReplaceAll(text, "-", Chr(0xE9)).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(ReplaceAll(text, "-", "+").GetEncoding(), Encoding::None);
    EXPECT_EQ(ReplaceAll(Utf8("a-b"), "-", "+").GetEncoding(), Encoding::UTF8);
    // Nothing to replace: the very same storage comes back.
    EXPECT_EQ(ReplaceAll(text, "x", "y").Bytes().data(), text.Bytes().data());
}

TEST(TextFunctions, LTrim) {
    EXPECT_EQ(LTrim(" \t\r\n\v\fab c ").Bytes(), "ab c ");
    EXPECT_EQ(LTrim("   ").Bytes(), "");
    EXPECT_EQ(LTrim("").Bytes(), "");
    EXPECT_EQ(LTrim("x ").Bytes(), "x ");
    EXPECT_EQ(LTrim(Utf8(" \xC3\xA9")).GetEncoding(), Encoding::UTF8);
}

TEST(TextFunctions, Asc) {
    struct Case {
        String text;
        std::int32_t expected;
    };
    const Case cases[] = {
        {"", 0},
        {"A", 65},
        {"\xFF", 255},
        {String("\xC3\xA9"), 0xC3},
        {Utf8("\xC3\xA9x"), 0xE9},
        {Utf8("\xE2\x82\xAC"), 0x20AC},
        {Utf8("\xF0\x9F\x98\x80"), 0x1F600},
        {Utf8("\xC3"), 0xC3},          // cut short
        {Utf8("\xC0\x80"), 0xC0},      // overlong
        {Utf8("\xED\xA0\x80"), 0xED},  // surrogate
        {Utf8("\x80"), 0x80},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "'" << c.text.Bytes() << "'");
        EXPECT_EQ(Asc(c.text), c.expected);
    }
}

TEST(TextFunctions, ChrAndChrB) {
    for (const std::int32_t code : {9, 10, 13, 0, 127}) {
        const String c = Chr(code);
        ASSERT_EQ(c.Size(), 1u) << code;
        EXPECT_EQ(Asc(c), code);
        EXPECT_EQ(c.GetEncoding(), Encoding::None);
    }
    for (const std::int32_t code : {0x80, 0xE9, 0x7FF, 0x800, 0x20AC, 0xFFFF, 0x10000, 0x10FFFF}) {
        const String c = Chr(code);
        EXPECT_EQ(c.GetEncoding(), Encoding::UTF8) << code;
        EXPECT_EQ(Len(c), 1) << code;
        EXPECT_EQ(Asc(c), code);
    }
    EXPECT_EQ(Chr(0xE9).Bytes(), "\xC3\xA9");
    EXPECT_EQ(Chr(0x20AC).Bytes(), "\xE2\x82\xAC");
    for (const std::int32_t code : {-1, 0xD800, 0xDFFF, 0x110000, INT32_MIN}) {
        EXPECT_TRUE(Chr(code).IsEmpty()) << code;
    }

    for (const std::int32_t code : {0, 13, 128, 200, 255}) {
        const String b = ChrB(code);
        ASSERT_EQ(b.Size(), 1u) << code;
        EXPECT_EQ(static_cast<unsigned char>(b.Bytes()[0]), code);
        EXPECT_EQ(b.GetEncoding(), Encoding::None);
    }
    EXPECT_TRUE(ChrB(256).IsEmpty());
    EXPECT_TRUE(ChrB(-1).IsEmpty());
}

TEST(TextFunctions, DefineEncodingMarksWithoutCopying) {
    const String bytes(kThreeCharacters);
    const String text = DefineEncoding(bytes, Encoding::UTF8);
    EXPECT_EQ(text.GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(text.Bytes().data(), bytes.Bytes().data());
    EXPECT_EQ(Len(text), 3);
    EXPECT_EQ(Len(bytes), 6);
}

TEST(TextNumbers, Str) {
    EXPECT_EQ(Str(0).Bytes(), "0");
    EXPECT_EQ(Str(-5).Bytes(), "-5");
    EXPECT_EQ(Str(INT32_MAX).Bytes(), "2147483647");
    EXPECT_EQ(Str(INT32_MIN).Bytes(), "-2147483648");
}

TEST(TextNumbers, Hex) {
    struct Case {
        std::int64_t value;
        std::string_view expected;
    };
    const Case cases[] = {
        {0, "0"},
        {10, "A"},
        {16, "10"},
        {255, "FF"},
        {256, "100"},
        {-1, "FFFFFFFFFFFFFFFF"},
        {INT64_MIN, "8000000000000000"},
    };
    for (const Case& c : cases) EXPECT_EQ(Hex(c.value).Bytes(), c.expected) << c.value;
}

TEST(TextNumbers, Val) {
    struct Case {
        std::string_view text;
        double expected;
    };
    const Case cases[] = {
        {"", 0},
        {"12x", 12},
        {"-3.5e2z", -350},
        {" \t42", 42},
        {"+7", 7},
        {".5", 0.5},
        {"5.", 5},
        {".", 0},
        {"1e", 1},
        {"1e+", 1},
        {"2E3", 2000},
        {"1,5", 1},
        {"\n5", 0},
        {"200 OK", 200},
        {"0e99999", 0},
        {"1e-999", 0},
        {"123456789012345678", 123456789012345678.0},
    };
    for (const Case& c : cases) EXPECT_EQ(Val(c.text), c.expected) << "'" << c.text << "'";

    EXPECT_EQ(Val("1e999"), HUGE_VAL);
    EXPECT_EQ(Val("-1e999"), -HUGE_VAL);
    EXPECT_EQ(Val(String("1" + std::string(400, '0'))), HUGE_VAL);
    EXPECT_EQ(Val(String("0." + std::string(400, '0') + "1e50")), 0.0);
    EXPECT_EQ(Val(String("0." + std::string(400, '0') + "1e500")), 1e99);
    EXPECT_EQ(Val(String("0." + std::string(400, '0') + "1e800")), HUGE_VAL);
}

}  // namespace
}  // namespace qv
