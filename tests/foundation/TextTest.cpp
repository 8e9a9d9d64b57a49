#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "foundation/TextFunctions.h"

namespace qv {
namespace {

using namespace std::string_view_literals;

String Utf8(std::string_view bytes) { return String(bytes, Encoding::UTF8); }

// "h", "é", "€": three characters in six bytes.
const String kMarked = Utf8("h\xC3\xA9\xE2\x82\xAC");

TEST(TextTest, SameTextFoldsOnlyAsciiLettersAndJoiningKeepsAnyMark) {
    const std::pair<String, String> same[] = {{"getnews", "GetNews"}, {"", String()}, {"a\0b"sv, "A\0B"sv}};
    const std::pair<String, String> differ[] = {
        {"abc", "ab"}, {"[", "{"}, {"@", "`"}, {"\xC3\xA9", "\xC3\x89"}, {"a\0b"sv, "a"}};
    for (const auto& [left, right] : same) EXPECT_TRUE(SameText(left, right) && SameText(right, left)) << left.Bytes();
    for (const auto& [left, right] : differ) EXPECT_FALSE(SameText(left, right) || SameText(right, left)) << left.Bytes();

    const String emptyMarked(""sv, Encoding::UTF8);
    EXPECT_EQ((String("ab") + "cd").Bytes(), "abcd");
    EXPECT_EQ((String("ab") + "cd").GetEncoding(), Encoding::None);
    EXPECT_EQ((String("ab") + emptyMarked).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ((emptyMarked + "ab").GetEncoding(), Encoding::UTF8);
    StringBuilder builder;
    builder.Append("GET "sv);
    builder.Append(Utf8("/\xC3\xA9"));
    EXPECT_EQ(builder.Size(), 7u);
    const String built = builder.Take();
    EXPECT_EQ(built.Bytes(), "GET /\xC3\xA9");
    EXPECT_EQ(built.GetEncoding(), Encoding::UTF8);
    builder.Append("x"sv);
    EXPECT_EQ(builder.Take().GetEncoding(), Encoding::None) << "the mark must not outlive Take";
    EXPECT_TRUE(builder.Take().IsEmpty());
}

TEST(TextTest, CuttingCountsBytesOrTheCharactersOfMarkedText) {
    const struct {
        std::int32_t start, length;
        std::string_view expected;
    } cases[] = {{2, 99, "bc"}, {4, 9, ""}, {2, 1, "b"}, {2, -3, ""}, {2, 0, ""}, {0, 9, "abc"},
                 {-5, 2, "ab"}, {1, INT32_MAX, "abc"}, {INT32_MAX, 1, ""}};
    for (const auto& c : cases) {
        EXPECT_EQ(Mid("abc", c.start, c.length).Bytes(), c.expected) << c.start << " " << c.length;
        EXPECT_EQ(MidB("abc", c.start, c.length).Bytes(), c.expected) << c.start << " " << c.length;
    }
    EXPECT_EQ(Mid("abc", 2).Bytes(), "bc");
    EXPECT_EQ(Left("abc", 9).Bytes(), "abc");
    EXPECT_EQ(Left("abc", -1).Bytes(), "");
    EXPECT_EQ(Right("abc", 2).Bytes(), "bc");

    EXPECT_EQ(Len(kMarked), 3);
    EXPECT_EQ(LenB(kMarked), 6);
    EXPECT_EQ(Len(String(kMarked.Bytes())), 6);
    EXPECT_EQ(Mid(kMarked, 2, 1).Bytes(), "\xC3\xA9");
    EXPECT_EQ(Mid(kMarked, 2, 1).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(Left(kMarked, 2).Bytes(), "h\xC3\xA9");
    EXPECT_EQ(Right(kMarked, 1).Bytes(), "\xE2\x82\xAC");
    EXPECT_EQ(Right(kMarked, 9).Bytes(), kMarked.Bytes());
    EXPECT_EQ(MidB(kMarked, 3).Bytes(), "\xA9\xE2\x82\xAC");
    // Stray continuation bytes ride with the character before them; the first byte always starts one.
    const String malformed = Utf8("\x80\x80" "a\xFF");
    EXPECT_EQ(Len(malformed), 3);
    EXPECT_EQ(Left(malformed, 1).Bytes(), "\x80\x80");
    EXPECT_EQ(Mid(malformed, 2).Bytes(), "a\xFF");
}

TEST(TextTest, InStrIgnoresLetterCaseCountsCharactersAndStaysLinear) {
    const struct {
        std::int32_t start;
        std::string_view text, find;
        std::int32_t expected;
    } cases[] = {{0, "abc", "z", 0},   {0, "abcabc", "B", 2}, {3, "abcabc", "b", 5}, {6, "abcabc", "b", 0},
                 {-4, "abc", "a", 1},  {0, "abc", "C", 3},    {0, "abc", "abcd", 0}, {0, "abc", "", 0},
                 {0, "AxAB", "ab", 3}, {0, "aaAaB", "AAB", 3}, {0, "a[b", "{", 0}, {0, "\xC3\xA9", "\xC3\x89", 0}};
    for (const auto& c : cases) EXPECT_EQ(InStr(c.start, c.text, c.find), c.expected) << c.text << " " << c.find;
    const String marked = kMarked + "x\xE2\x82\xAC";
    EXPECT_EQ(InStr(4, marked, "\xE2\x82\xAC"), 5);
    EXPECT_EQ(InStr(0, marked, "\xA9"), 2) << "a match inside a character reports that character";
    EXPECT_EQ(InStr(0, String(marked.Bytes()), "X"), 7);

    // Many near misses on both cases of the first byte before the match.
    std::string page;
    for (int i = 0; i < 250'000; ++i) page += "bOuNdAr-BoUnDaR-";
    page += "BoundarY" + std::string(3'000'000, 'z');
    const String large(std::move(page));
    EXPECT_EQ(InStr(0, large, "boundaryz"), 4'000'001);
    EXPECT_EQ(InStr(0, large, "boundaryy"), 0);
}

TEST(TextTest, FieldsReplacingTrimmingAndCharacterCodes) {
    const std::pair<std::string_view, std::vector<std::string_view>> byColon[] = {
        {"a:b", {"a", "b"}}, {"", {""}}, {":", {"", ""}}, {"a::b:", {"a", "", "b", ""}}, {"aXbxc", {"aXbxc"}}};
    for (const auto& [text, fields] : byColon) {
        const auto count = static_cast<std::int32_t>(fields.size());
        EXPECT_EQ(CountFields(text, ":"), count) << text;
        for (std::int32_t n = 0; n <= count + 1; ++n) {
            EXPECT_EQ(NthField(text, ":", n).Bytes(), n >= 1 && n <= count ? fields[n - 1] : "") << text << n;
        }
    }
    EXPECT_EQ(CountFields("aaaaa", "aa"), 3);
    EXPECT_EQ(NthField("aXbxc", "x", 3).Bytes(), "c");
    EXPECT_EQ(CountFields("abc", ""), 1);

    EXPECT_EQ(ReplaceAll("aaa", "a", "aa").Bytes(), "aaaaaa");
    EXPECT_EQ(ReplaceAll("aaaa", "aa", "a").Bytes(), "aa");
    EXPECT_EQ(ReplaceAll("xAbXab", "ab", "_").Bytes(), "x_X_");
    EXPECT_EQ(ReplaceAll("abc", "", "x").Bytes(), "abc");
    EXPECT_EQ(ReplaceAll("a-b", "-", Chr(0xE9)).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(LTrimBytes(" \t\r\n\v\fab c "), "ab c ");
    EXPECT_EQ(EncodeBase64("fo?", 1).Bytes(), "Z\r\nm\r\n8\r\n/") << "Base64 wrapped at any width";

    const std::pair<String, std::int32_t> asc[] = {
        {"", 0}, {"\xFF", 255}, {String("\xC3\xA9"), 0xC3}, {Utf8("\xC3\xA9x"), 0xE9}, {Utf8("\xF0\x9F\x98\x80"), 0x1F600},
        {Utf8("\xC3"), 0xC3}, {Utf8("\xC0\x80"), 0xC0}, {Utf8("\xED\xA0\x80"), 0xED}, {Utf8("\xF8\x88\x80\x80\x80"), 0xF8}};
    for (const auto& [text, code] : asc) EXPECT_EQ(Asc(text), code) << text.Bytes();
    for (const std::int32_t code : {0, 127, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}) {
        EXPECT_EQ(Asc(Chr(code)), code);
        EXPECT_EQ(Len(Chr(code)), 1) << code;
        EXPECT_EQ(Chr(code).GetEncoding(), code < 128 ? Encoding::None : Encoding::UTF8) << code;
    }
    EXPECT_EQ(Chr(0x20AC).Bytes(), "\xE2\x82\xAC");
    for (const std::int32_t code : {-1, 0xD800, 0xDFFF, 0x110000}) EXPECT_TRUE(Chr(code).IsEmpty()) << code;
    EXPECT_EQ(ChrB(255).Bytes(), "\xFF");
    EXPECT_TRUE(ChrB(256).IsEmpty() && ChrB(-1).IsEmpty());
}

TEST(TextTest, NumbersToTextAndBack) {
    EXPECT_EQ(Str(INT32_MIN).Bytes(), "-2147483648");
    const std::pair<std::int64_t, std::string_view> hex[] = {
        {0, "0"}, {10, "A"}, {256, "100"}, {-1, "FFFFFFFFFFFFFFFF"}, {INT64_MIN, "8000000000000000"}};
    for (const auto& [value, text] : hex) EXPECT_EQ(Hex(value).Bytes(), text) << value;

    const std::pair<std::string_view, double> val[] = {
        {"", 0},       {"12x", 12},   {"-3.5e2z", -350}, {" \t42", 42},     {"+7", 7},        {".5", 0.5},
        {".", 0},      {"1e+", 1},    {"2E3", 2000},     {"1,5", 1},        {"\n5", 0},       {"1e-999", 0},
        {"1e999", HUGE_VAL}, {"-1e999", -HUGE_VAL}, {"123456789012345678", 123456789012345678.0}};
    for (const auto& [text, value] : val) EXPECT_EQ(Val(text), value) << text;
    // Beyond double's range the magnitude decides, however many digits it takes.
    EXPECT_EQ(Val(String("1" + std::string(400, '0'))), HUGE_VAL);
    EXPECT_EQ(Val(String("0." + std::string(400, '0') + "1e500")), 1e99);
    EXPECT_EQ(Val(String("0." + std::string(400, '0') + "1e50")), 0.0);

    const struct {
        double value;
        std::int64_t to64;
        std::int32_t to32;
    } cut[] = {{-1.9, -1, -1}, {NAN, 0, 0}, {HUGE_VAL, INT64_MAX, INT32_MAX}, {-HUGE_VAL, INT64_MIN, INT32_MIN},
               {3e9, 3'000'000'000, INT32_MAX}, {-3e9, -3'000'000'000, INT32_MIN}};
    for (const auto& c : cut) {
        EXPECT_EQ(CvtReal64ToSInt64(c.value), c.to64) << c.value;
        EXPECT_EQ(CvtReal64ToSInt32(c.value), c.to32) << c.value;
    }
}

TEST(TextTest, FormatMasksRoundHalfAwayFromZeroOnTheExactValueAndIntegersExactly) {
    const struct {
        double value;
        NumberMask mask;
        std::string_view expected;
    } cases[] = {
        {503, "#", "503"},     {7, "00", "07"},       {123, "00", "123"},       {-5, "0.0", "-5.0"},
        {0, "0", "0"},         {0, "#", ""},          {-0.4, "#", ""},          {0.5, "#", "1"},
        {-0.5, "#", "-1"},     {2.5, "0", "3"},       {-2.5, "00", "-03"},      {1.5, "0.000", "1.500"},
        {1.25, "0.0", "1.3"},  {-1.25, "0.0", "-1.3"}, {0.0625, "0.000", "0.063"}, {-0.0625, "0.000", "-0.063"},
        // Ties in their decimal text whose doubles lie just below or above.
        {1.45, "0.0", "1.4"},  {0.35, "0.0", "0.3"},  {-1.45, "0.0", "-1.4"},   {1.0005, "0.000", "1.000"},
        {2.0005, "0.000", "2.001"}, {1.15, "0.0", "1.1"}, {1.55, "0.0", "1.6"},
        {0.96, "0.0", "1.0"},  {99.9996, "0.000", "100.000"}, {-0.04, "0.0", "0.0"}, {-0.0004, "0.000", "0.000"},
        {4503599627370495.5, "0", "4503599627370496"}, {-4503599627370495.5, "#", "-4503599627370496"},
        {9223372036854775808.0, "0.0", "9223372036854775808.0"}, {1e22, "0.000", "10000000000000000000000.000"},
        {4.9406564584124654e-324, "0.000", "0.000"},
        {HUGE_VAL, "0.0", "inf"}, {-HUGE_VAL, "#", "-inf"}, {NAN, "0.000", "nan"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Format(c.value, c.mask).Bytes(), c.expected) << c.value << " " << c.mask.Text();
    }
    EXPECT_EQ(Format(1.7976931348623157e308, "#").Size(), 309u);

    const struct {
        std::int64_t value;
        NumberMask mask;
        std::string_view expected;
    } integers[] = {{INT64_MAX, "#", "9223372036854775807"}, {INT64_MIN, "0.0", "-9223372036854775808.0"},
                    {0, "#", ""}, {7, "00", "07"}, {-503, "#", "-503"}};
    for (const auto& c : integers) EXPECT_EQ(Format(c.value, c.mask).Bytes(), c.expected) << c.value;
}

}  // namespace
}  // namespace qv
