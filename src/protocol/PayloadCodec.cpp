#include "protocol/PayloadCodec.h"

#include <string>

#include "foundation/TextFunctions.h"
#include "foundation/ZCompression.h"

namespace qv {

namespace {

constexpr std::size_t kPrefixBytes = 3;
constexpr std::size_t kSizeModulus = 0x1000000;  // the prefix's three bytes

unsigned ByteAt(std::string_view bytes, std::size_t index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0;
}

}  // namespace

String zCompress(const String& text) {
    ZCompression compression;
    const String body = compression.CompressBytes(text);
    if (compression.ErrorValue() != 0) return String();
    const auto size = static_cast<std::uint32_t>(text.Size() % kSizeModulus);
    std::string packed;
    packed.reserve(kPrefixBytes + body.Size());
    packed.push_back(static_cast<char>(size & 0xFF));
    packed.push_back(static_cast<char>((size >> 8) & 0xFF));
    packed.push_back(static_cast<char>((size >> 16) & 0xFF));
    packed.append(body.Bytes());
    return String(std::move(packed));
}

String zDecompress(const String& data) {
    const std::string_view bytes = data.Bytes();
    const auto size =
        static_cast<std::int32_t>(ByteAt(bytes, 2) * 65536 + ByteAt(bytes, 1) * 256 + ByteAt(bytes, 0));
    ZCompression compression;
    const String text = compression.DecompressBytes(MidB(data, kPrefixBytes + 1), size);
    if (compression.ErrorValue() != 0) return String();
    // A text longer than the prefix says is no message, unless it is 16 MiB
    // or more and the prefix has wrapped, as the sender's does.
    if (text.Size() > static_cast<std::size_t>(size) &&
        text.Size() % kSizeModulus != static_cast<std::size_t>(size)) {
        return String();
    }
    return text;
}

String setToUTF8(const String& text) {
    return DefineEncoding(text, Encoding::UTF8);
}

}  // namespace qv
