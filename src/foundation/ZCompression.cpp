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
    uLongf size = static_cast<uLongf>(std::max<std::int32_t>(originalSize, 0));
    std::string out(size, '\0');
    errorValue_ = uncompress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(in.data()),
                             static_cast<uLong>(in.size()));
    if (errorValue_ != Z_OK) return String();
    out.resize(size);
    return String(std::move(out));
}

}  // namespace qv
