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
    std::string out(std::min<std::size_t>(static_cast<std::size_t>(std::max(originalSize, 1)), mostPossible), '\0');
    z_stream stream{};
    errorValue_ = inflateInit(&stream);
    if (errorValue_ != Z_OK) return String();
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
    stream.avail_in = static_cast<uInt>(in.size());
    for (;;) {
        stream.next_out = reinterpret_cast<Bytef*>(out.data() + stream.total_out);
        stream.avail_out = static_cast<uInt>(out.size() - stream.total_out);
        errorValue_ = inflate(&stream, Z_FINISH);
        if (errorValue_ == Z_STREAM_END) break;
        // Out of room with input left: a text longer than expected.
        if (errorValue_ == Z_BUF_ERROR && stream.avail_out == 0 && out.size() < mostPossible) {
            out.resize(std::min(out.size() * 2, mostPossible));
            continue;
        }
        if (errorValue_ == Z_OK) errorValue_ = Z_BUF_ERROR;  // the stream ends early
        inflateEnd(&stream);
        return String();
    }
    out.resize(stream.total_out);
    inflateEnd(&stream);
    errorValue_ = Z_OK;
    return String(std::move(out));
}

}  // namespace qv
