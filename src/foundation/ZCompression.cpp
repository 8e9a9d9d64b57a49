#include "foundation/ZCompression.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>
#include <string>

namespace qv {

namespace {

// zlib's default level, so the stream is what a zlib sender would choose to make.
constexpr int kLevel = 6;
// Error values in zlib's terms, which callers and logs already know.
constexpr std::int32_t kMemoryError = -4;
constexpr std::int32_t kDataError = -3;
constexpr std::int32_t kBufferError = -5;
// The prefix that gives a message's size wraps here.
constexpr std::size_t kSizeWrap = std::size_t{1} << 24;

struct FreeCompressor {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};
struct FreeDecompressor {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// Made once per thread: a compressor's tables are large, and making them for
// every reply would cost more than compressing a short one.
libdeflate_compressor* Compressor() {
    thread_local const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(kLevel));
    return compressor.get();
}

libdeflate_decompressor* Decompressor() {
    thread_local const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
        libdeflate_alloc_decompressor());
    return decompressor.get();
}

}  // namespace

String ZCompression::CompressBytes(const String& bytes) {
    libdeflate_compressor* compressor = Compressor();
    if (!compressor) {
        errorValue_ = kMemoryError;
        return String();
    }
    const std::string_view in = bytes.Bytes();
    std::string out(libdeflate_zlib_compress_bound(compressor, in.size()), '\0');
    const std::size_t size =
        libdeflate_zlib_compress(compressor, in.data(), in.size(), out.data(), out.size());
    if (size == 0) {
        errorValue_ = kBufferError;
        return String();
    }
    out.resize(size);
    errorValue_ = 0;
    return String(std::move(out));
}

String ZCompression::DecompressBytes(const String& bytes, std::int32_t originalSize) {
    libdeflate_decompressor* decompressor = Decompressor();
    if (!decompressor) {
        errorValue_ = kMemoryError;
        return String();
    }
    const std::string_view in = bytes.Bytes();
    // Deflate expands by 1032 to 1 at the most: a few bytes of garbage that
    // announce 16 MiB must not cost a 16 MiB buffer.
    const std::size_t mostPossible = in.size() * 1032 + 64;
    const std::size_t expected = static_cast<std::size_t>(std::max(originalSize, 1));
    std::string out(std::min(expected, mostPossible), '\0');
    for (;;) {
        std::size_t written = 0;
        const libdeflate_result result =
            libdeflate_zlib_decompress(decompressor, in.data(), in.size(), out.data(), out.size(), &written);
        if (result == LIBDEFLATE_SUCCESS) {
            out.resize(written);
            errorValue_ = 0;
            return String(std::move(out));
        }
        // A text longer than expected: 16 MiB or more, its size having wrapped,
        // tries the next wrap first, then room that doubles.
        if (result == LIBDEFLATE_INSUFFICIENT_SPACE && out.size() < mostPossible) {
            const std::size_t next = out.size() < kSizeWrap ? out.size() + kSizeWrap : out.size() * 2;
            out.resize(std::min(next, mostPossible));
            continue;
        }
        errorValue_ = result == LIBDEFLATE_INSUFFICIENT_SPACE ? kBufferError : kDataError;
        return String();
    }
}

}  // namespace qv
