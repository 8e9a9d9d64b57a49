#pragma once

#include "foundation/String.h"

namespace qv {

// The layers of a frame's payload. A packed message is three size bytes, lowest
// first, then the zlib stream of the message text. The size is taken modulo
// 2^24 without notice: a longer text still goes out, with a prefix that is too
// small, and nothing on either side checks it.

// The packed message of `text`, or "" when compression fails.
String zCompress(const String& text);
// The message text of a packed message, or "" when it does not decompress.
String zDecompress(const String& data);
// The same bytes, from now on counted as UTF-8 text. Nothing is checked or converted.
String setToUTF8(const String& text);

}  // namespace qv
