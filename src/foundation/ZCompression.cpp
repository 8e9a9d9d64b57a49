#include "foundation/ZCompression.h"

#include <zlib.h>

#include <algorithm>
#include <string>

namespace qv {

String ZCompression::CompressBytes(const String& bytes) {
    const std::string_view in = bytes.Bytes();
    uLongf size = compressBound(static_cast<uLong>(in.size()));
    std::string out(size, '\0');
    errorValue_ = compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(in.data()),
                           static_cast<uLong>(in.size()));
    if (errorValue_ != Z_OK) return String();
    out.resize(size);
    return String(std::move(out));
}

String ZCompression::DecompressBytes(const String& bytes, std::int32_t originalSize) {
    const std::string_view in = bytes.Bytes();
    // Deflate expands by 1032 to 1 at the most: a few bytes of garbage that
    // announce 16 MiB must not cost a 16 MiB buffer.
    const std::size_t mostPossible = in.size() * 1032 + 64;
    uLongf size = static_cast<uLongf>(std::min<std::size_t>(std::max<std::int32_t>(originalSize, 0), mostPossible));
    std::string out(size, '\0');
    errorValue_ = uncompress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(in.data()),
                             static_cast<uLong>(in.size()));
    if (errorValue_ != Z_OK) return String();
    out.resize(size);
    return String(std::move(out));
}

}  // namespace qv
