#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// One-shot compression in the zlib format (zlib's compress and uncompress).
// ErrorValue is zlib's return code of the last call: 0 when it went well.
class ZCompression {
public:
    String CompressBytes(const String& bytes);
    // `originalSize` is the length the result is expected to have; a stream
    // that holds more fails, one that holds less gives what it holds.
    String DecompressBytes(const String& bytes, std::int32_t originalSize);
    std::int32_t ErrorValue() const { return errorValue_; }

private:
    std::int32_t errorValue_ = 0;
};

}  // namespace qv
