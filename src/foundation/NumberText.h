#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/String.h"

// Numbers to text and back. All of them ignore the process locale: the point
// is always "." and there is never a thousands separator.
namespace qv {

// A 64-bit float cut to an integer, as the runtime converts: the fraction is
// dropped, NaN gives 0, and a value beyond the range gives its nearer end
// rather than undefined behaviour.
std::int32_t CvtReal64ToSInt32(double value);
std::int64_t CvtReal64ToSInt64(double value);

// Decimal digits, "-" ahead of a negative value.
String Str(std::int32_t value);

// Upper-case hexadecimal digits without leading zeros; Hex(0) is "0". A
// negative value shows its 64-bit two's complement pattern.
String Hex(std::int64_t value);

// The leading number of the text: spaces and tabs skipped, an optional sign,
// digits with an optional "." and fraction, and an exponent only when digits
// follow its "e". 0 when the text does not start with a number. A value beyond
// the range of double gives an infinity or 0, as its magnitude demands.
double Val(const String& text);

// One of the five masks that numbers are shown under: "#" (an integer, the
// digit place optional, so 0 shows no digit), "0" (the place mandatory),
// "00" (at least two digits), "0.0" and "0.000" (at least one digit ahead of
// the point and one or three behind it). Made from the literal; any other
// text does not compile.
class NumberMask {
public:
    consteval NumberMask(const char* text) : text_(text) {  // NOLINT: a literal reads naturally.
        if (text_ == "#") {
            integerPlaces_ = 0;
        } else if (text_ == "0") {
            integerPlaces_ = 1;
        } else if (text_ == "00") {
            integerPlaces_ = 2;
        } else if (text_ == "0.0") {
            integerPlaces_ = 1;
            decimals_ = 1;
        } else if (text_ == "0.000") {
            integerPlaces_ = 1;
            decimals_ = 3;
        } else {
            throw "not a mask in use: #, 0, 00, 0.0 or 0.000";
        }
    }

    std::string_view Text() const { return text_; }
    // Mandatory digits ahead of the point; more are shown when the value has them.
    std::size_t IntegerPlaces() const { return integerPlaces_; }
    std::size_t Decimals() const { return decimals_; }

private:
    std::string_view text_;
    std::size_t integerPlaces_ = 0;
    std::size_t decimals_ = 0;  // behind the point, none without one
};

// The value under a mask, rounded half away from zero on the double's exact
// value: 1.25 under "0.0" is "1.3", while 1.45, whose double lies just below,
// is "1.4". "-" goes ahead only if a non-zero digit is shown. Infinities and
// NaN read "inf", "-inf" and "nan".
String Format(double value, NumberMask mask);
// The same for an integer, exactly, also beyond 2^53 where a double would
// round it: the largest signed 64-bit value reads 9223372036854775807.
String FormatInteger(std::int64_t value, NumberMask mask);
template <std::signed_integral Int>
String Format(Int value, NumberMask mask) {
    return FormatInteger(value, mask);
}

}  // namespace qv
