#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// One-shot compression in the zlib format (RFC 1950), made and read by
// libdeflate: the same streams as zlib's compress and uncompress at zlib's
// default level, in about half the time. ErrorValue is 0 when the last call
// went well, else a negative code in zlib's terms (-3 bad data, -4 no memory,
// -5 no room).
class ZCompression {
public:
    String CompressBytes(const String& bytes);
    // The whole text of the stream. `originalSize` is the length it is
    // expected to have: the buffer is made that large first (never larger than
    // the stream could expand to), and grows only for a stream that holds
    // more. Judging a length that differs is the caller's business.
    String DecompressBytes(const String& bytes, std::int32_t originalSize);
    std::int32_t ErrorValue() const { return errorValue_; }

private:
    std::int32_t errorValue_ = 0;
};

}  // namespace qv
