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
constexpr std::size_t kMaxDecimals = 18;  // The scaled fraction must fit a 64-bit integer.

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

struct Mask {
    std::size_t integerPlaces;  // mandatory digits ahead of the point
    std::size_t decimals;
};

Mask ReadMask(std::string_view mask) {
    const std::size_t point = std::min(mask.find('.'), mask.size());
    const auto places = std::count(mask.begin(), mask.begin() + static_cast<std::ptrdiff_t>(point), '0');
    const auto decimals = std::count_if(mask.begin() + static_cast<std::ptrdiff_t>(point), mask.end(),
                                        [](char c) { return c == '0' || c == '#'; });
    return {static_cast<std::size_t>(places), std::min(static_cast<std::size_t>(decimals), kMaxDecimals)};
}

// The digits of a whole number held in a double, none for 0. to_chars prints
// the exact value, and with no fraction there is nothing for it to round.
std::string WholeDigits(double whole) {
    if (whole == 0) return std::string();
    char buffer[400];  // DBL_MAX has 309 digits.
    const auto result =
        std::to_chars(std::begin(buffer), std::end(buffer), whole, std::chars_format::fixed, 0);
    return std::string(std::begin(buffer), result.ptr);
}

// `value` in exactly `width` digits, with leading zeros.
std::string DecimalDigits(std::uint64_t value, std::size_t width) {
    std::string digits(width, '0');
    for (std::size_t i = width; i-- > 0 && value != 0; value /= 10) {
        digits[i] = static_cast<char>('0' + value % 10);
    }
    return digits;
}

// The sign, the whole digits padded to the mask's mandatory places, and the
// decimals behind a point where the mask has any.
String Compose(const Mask& places, bool negative, const std::string& digits, const std::string& decimals) {
    std::string text;
    if (negative) text += '-';
    if (digits.size() < places.integerPlaces) text.append(places.integerPlaces - digits.size(), '0');
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

String Format(double value, const String& mask) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    const Mask places = ReadMask(mask.Bytes());

    long double scale = 1;
    for (std::size_t i = 0; i < places.decimals; ++i) scale *= 10;
    double whole = std::trunc(std::fabs(value));
    const double fraction = std::fabs(value) - whole;
    // With x87's 64-bit mantissa the product of a fraction and 10^3 is exact, so
    // this rounds the true value half away from zero, where printf would round
    // half to even: 1.25 under "0.0" must read 1.3.
    long double scaled = std::round(static_cast<long double>(fraction) * scale);
    if (scaled >= scale) {  // 0.96 under "0.0" carries into the whole part.
        whole += 1;
        scaled -= scale;
    }

    return Compose(places, value < 0 && (whole != 0 || scaled != 0), WholeDigits(whole),
                   DecimalDigits(static_cast<std::uint64_t>(scaled), places.decimals));
}

String FormatInteger(std::int64_t value, const String& mask) {
    const Mask places = ReadMask(mask.Bytes());
    // Negated in unsigned arithmetic, where the most negative value has a magnitude too.
    const std::uint64_t magnitude = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    char buffer[24];
    const auto end = std::to_chars(std::begin(buffer), std::end(buffer), magnitude).ptr;
    const std::string digits = magnitude == 0 ? std::string() : std::string(std::begin(buffer), end);
    return Compose(places, value < 0, digits, std::string(places.decimals, '0'));
}

}  // namespace qv
