#include "foundation/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>

namespace qv {

namespace {

constexpr std::size_t kNotFound = std::string_view::npos;
// The longest fixed-point text of a double: DBL_MAX has 309 digits ahead of
// the point, the least subnormal 1074 behind it.
constexpr std::size_t kMostWholeDigits = 309;
constexpr std::size_t kMostDecimals = 1074;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && IsDigit(text[at])) ++at;
    return at;
}

// An exponent's value ("" is 0), held far beyond any double's range rather than overflowing.
std::int64_t SaturatedExponent(std::string_view exponent) {
    const bool negative = !exponent.empty() && exponent.front() == '-';
    std::int64_t value = 0;
    for (const char c : exponent) {
        if (IsDigit(c)) value = std::min<std::int64_t>(value * 10 + (c - '0'), 1'000'000'000);
    }
    return negative ? -value : value;
}

// from_chars leaves a value beyond double's range unset. It overflows when its
// leading significant digit stands at a positive decimal place, else it underflows.
double BeyondRange(std::string_view mantissa, std::string_view exponent) {
    const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto first = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
    const std::int64_t place = first < point ? point - first - 1 : point - first;
    return place + SaturatedExponent(exponent) > 0 ? HUGE_VAL : 0.0;
}

// The sign, the whole digits padded to the mask's mandatory places, and the
// decimals behind a point where the mask has any.
String Compose(NumberMask mask, bool negative, std::string_view digits, std::string_view decimals) {
    std::string text;
    if (negative) text += '-';
    if (digits.size() < mask.IntegerPlaces()) text.append(mask.IntegerPlaces() - digits.size(), '0');
    text += digits;
    if (!decimals.empty()) {
        text += '.';
        text += decimals;
    }
    return String(std::move(text));
}

template <class Int>
Int CutToInteger(double value) {
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(std::numeric_limits<Int>::min())) return std::numeric_limits<Int>::min();
    if (value >= static_cast<double>(std::numeric_limits<Int>::max())) return std::numeric_limits<Int>::max();
    return static_cast<Int>(value);
}

}  // namespace

std::int32_t CvtReal64ToSInt32(double value) { return CutToInteger<std::int32_t>(value); }
std::int64_t CvtReal64ToSInt64(double value) { return CutToInteger<std::int64_t>(value); }

String Str(std::int32_t value) {
    char buffer[16];
    const auto result = std::to_chars(std::begin(buffer), std::end(buffer), value);
    return String(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

String Hex(std::int64_t value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    auto bits = static_cast<std::uint64_t>(value);
    char buffer[16];
    char* at = std::end(buffer);
    do {
        *--at = kDigits[bits & 0xF];
        bits >>= 4;
    } while (bits != 0);
    return String(std::string_view(at, static_cast<std::size_t>(std::end(buffer) - at)));
}

double Val(const String& text) {
    const std::string_view bytes = text.Bytes();
    std::size_t at = bytes.find_first_not_of(" \t");
    if (at == kNotFound) return 0;
    const bool negative = bytes[at] == '-';
    if (bytes[at] == '-' || bytes[at] == '+') ++at;

    const std::size_t begin = at;
    std::size_t end = SkipDigits(bytes, begin);
    if (end < bytes.size() && bytes[end] == '.') end = SkipDigits(bytes, end + 1);
    const std::string_view mantissa = bytes.substr(begin, end - begin);
    if (mantissa.find_first_of("0123456789") == kNotFound) return 0;

    std::string_view exponent;
    if (end < bytes.size() && (bytes[end] == 'e' || bytes[end] == 'E')) {
        std::size_t digits = end + 1;
        if (digits < bytes.size() && (bytes[digits] == '-' || bytes[digits] == '+')) ++digits;
        const std::size_t stop = SkipDigits(bytes, digits);
        if (stop > digits) exponent = bytes.substr(end + 1, stop - end - 1);
    }

    // from_chars, unlike strtod, never reads the locale's decimal comma.
    double value = 0;
    const char* const last = mantissa.data() + mantissa.size() + (exponent.empty() ? 0 : exponent.size() + 1);
    if (std::from_chars(mantissa.data(), last, value).ec == std::errc::result_out_of_range) {
        value = BeyondRange(mantissa, exponent);
    }
    return negative ? -value : value;
}

String Format(double value, NumberMask mask) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    // A double's exact value has at most 1074 digits behind the point, so at
    // that precision to_chars writes it whole, without rounding anything.
    char buffer[kMostWholeDigits + 1 + kMostDecimals];
    const auto written =
        std::to_chars(std::begin(buffer), std::end(buffer), std::fabs(value), std::chars_format::fixed, kMostDecimals);
    const std::string_view exact(buffer, static_cast<std::size_t>(written.ptr - buffer));
    const std::size_t point = exact.find('.');
    std::string digits(exact.substr(0, point));
    digits += exact.substr(point + 1, mask.Decimals());
    // Half away from zero: the first digit dropped decides, whatever follows it.
    if (exact[point + 1 + mask.Decimals()] >= '5') {
        std::size_t at = digits.size();
        while (at > 0 && digits[at - 1] == '9') digits[--at] = '0';
        if (at == 0) {
            digits.insert(digits.begin(), '1');
        } else {
            ++digits[at - 1];
        }
    }
    const bool nonZero = digits.find_first_not_of('0') != kNotFound;
    std::string_view whole = std::string_view(digits).substr(0, digits.size() - mask.Decimals());
    whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));  // "#" shows no digit of 0
    return Compose(mask, value < 0 && nonZero, whole, std::string_view(digits).substr(digits.size() - mask.Decimals()));
}

String FormatInteger(std::int64_t value, NumberMask mask) {
    // Negated in unsigned arithmetic, where the most negative value has a magnitude too.
    const std::uint64_t magnitude = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    char buffer[24];
    const auto end = std::to_chars(std::begin(buffer), std::end(buffer), magnitude).ptr;
    const std::string_view digits = magnitude == 0 ? std::string_view() : std::string_view(buffer, end);
    return Compose(mask, value < 0, digits, std::string(mask.Decimals(), '0'));
}

}  // namespace qv
