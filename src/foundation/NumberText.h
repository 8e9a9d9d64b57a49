#pragma once

#include <concepts>
#include <cstdint>

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

// The value under a mask. Each "0" ahead of the point is a mandatory digit
// place, each "#" an optional one, and every place after the point is one
// decimal shown. More integer digits than places are all shown, so "#" of 0 is
// "" while "0" of 0 is "0". Rounding is half away from zero on the exact binary
// value: 1.25 under "0.0" is "1.3". "-" goes ahead only if a non-zero digit is
// shown. Infinities and NaN read "inf", "-inf" and "nan". At most 18 decimal
// places are honoured; other mask characters are ignored.
String Format(double value, const String& mask);
// The same for an integer, exactly, also beyond 2^53 where a double would
// round it: the largest signed 64-bit value reads 9223372036854775807.
String FormatInteger(std::int64_t value, const String& mask);
template <std::signed_integral Int>
String Format(Int value, const String& mask) {
    return FormatInteger(value, mask);
}

}  // namespace qv
