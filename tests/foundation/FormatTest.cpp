#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "foundation/NumberText.h"

namespace qv {
namespace {

struct Case {
    double value;
    std::string_view mask;
    std::string_view expected;
};

void ExpectFormats(const Case& c) {
    EXPECT_EQ(Format(c.value, c.mask).Bytes(), c.expected) << c.value << " under \"" << c.mask << "\"";
}

TEST(Format, Masks) {
    const Case cases[] = {
        {503, "#", "503"}, {7, "00", "07"}, {123, "00", "123"},  {1.5, "0.000", "1.500"},
        {0, "0", "0"},     {0, "00", "00"}, {-5, "0.0", "-5.0"}, {-503, "#", "-503"},
        {59, "00", "59"},  {42, "0", "42"}, {100, "00", "100"},  {0.25, "0.000", "0.250"},
    };
    for (const Case& c : cases) ExpectFormats(c);
}

TEST(Format, HashShowsNoDigitForZero) {
    const Case cases[] = {
        {0, "#", ""},    {-0.0, "#", ""},   {0.4, "#", ""},
        {-0.4, "#", ""},  // rounds to zero: no lone "-"
        {0.5, "#", "1"}, {-0.5, "#", "-1"}, {0.5, "#.0", ".5"},
    };
    for (const Case& c : cases) ExpectFormats(c);
}

TEST(Format, RoundsHalfAwayFromZeroOnTheExactValue) {
    const Case cases[] = {
        {1.25, "0.0", "1.3"},  // exact tie: printf would give 1.2
        {-1.25, "0.0", "-1.3"},
        {2.5, "0", "3"},
        {0.0625, "0.000", "0.063"},
        {1.45, "0.0", "1.4"},  // 1.4499999999999999556 in binary
        {0.35, "0.0", "0.3"},  // likewise; a double product would give a tie
        {0.0055, "0.000", "0.005"},
        {1.0005, "0.000", "1.000"},
        {0.96, "0.0", "1.0"},  // carries into the whole part
        {9.96, "0.0", "10.0"},
        {99.9996, "0.000", "100.000"},
        {-0.04, "0.0", "0.0"},  // no negative zero
        {4503599627370495.5, "0", "4503599627370496"},
    };
    for (const Case& c : cases) ExpectFormats(c);
}

TEST(Format, LargeValuesAndNonFiniteValues) {
    const Case cases[] = {
        {9223372036854775808.0, "#", "9223372036854775808"},
        {9223372036854775808.0, "0.000", "9223372036854775808.000"},
        {-9223372036854775808.0, "0.0", "-9223372036854775808.0"},
        {1e20, "0", "100000000000000000000"},
        {HUGE_VAL, "0.0", "inf"},
        {-HUGE_VAL, "#", "-inf"},
        {NAN, "0.000", "nan"},
    };
    for (const Case& c : cases) ExpectFormats(c);

    const String largest = Format(DBL_MAX, "#");
    EXPECT_EQ(largest.Size(), 309u);
    EXPECT_EQ(largest.Bytes().substr(0, 17), "17976931348623157");
}

TEST(Format, IntegersAreExactBeyondTheDoublesRange) {
    const struct {
        std::int64_t value;
        std::string_view mask;
        std::string_view expected;
    } cases[] = {
        {INT64_MAX, "#", "9223372036854775807"}, {INT64_MIN, "0.0", "-9223372036854775808.0"},
        {0, "#", ""},  {0, "00", "00"}, {7, "00", "07"}, {-503, "#", "-503"},
    };
    for (const auto& c : cases) EXPECT_EQ(Format(c.value, c.mask).Bytes(), c.expected) << c.value;
}

// The byte counts of the copy's progress text, divided by their unit.
TEST(Format, SizeTexts) {
    constexpr double kKB = 1024.0;
    constexpr double kMB = 1048576.0;
    constexpr double kGB = 1073741824.0;
    constexpr double kTB = 1099511627776.0;
    const Case cases[] = {
        {0, "0.0", "0.0"},
        {1, "0.0", "1.0"},
        {512, "0.0", "512.0"},
        {1024, "0.0", "1024.0"},
        {-5, "0.0", "-5.0"},
        {1025 / kKB, "0.0", "1.0"},
        {1536 / kKB, "0.0", "1.5"},
        {1048525 / kKB, "0.0", "1024.0"},
        {1048576 / kKB, "0.0", "1024.0"},
        {1048577 / kMB, "0.0", "1.0"},
        {2097152 / kMB, "0.0", "2.0"},
        {1073741824 / kMB, "0.0", "1024.0"},
        {1073741825 / kGB, "0.000", "1.000"},
        {1610612736 / kGB, "0.000", "1.500"},
        {1099511627776 / kGB, "0.000", "1024.000"},
        {1099511627777 / kTB, "0.000", "1.000"},
        {1649267441664 / kTB, "0.000", "1.500"},
    };
    for (const Case& c : cases) ExpectFormats(c);
}

}  // namespace
}  // namespace qv
