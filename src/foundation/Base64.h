#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/String.h"

namespace qv {

// Base64 of RFC 4648 with "=" padding, as one unbroken line. The channel's
// frame markers rely on "_" not being in this alphabet.
String Base64Encode(const String& bytes);
// The same, appended to `out`, so a caller can build a larger text around it
// without copying the encoding again.
void AppendBase64(std::string& out, std::string_view bytes);

// The bytes that `text` stands for. CR and LF are skipped, so a peer that wraps
// its lines is understood; any other character outside the alphabet is skipped
// too, and decoding ends at the first "=".
String Base64Decode(const String& text);

// Base64 broken into lines of `lineWrap` characters by CR LF, with no line end
// behind the last; a wrap of 0 or less gives one line.
String EncodeBase64(const String& data, std::int32_t lineWrap = 76);

}  // namespace qv
