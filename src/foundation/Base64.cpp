#include "foundation/Base64.h"

#include <array>

namespace qv {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int8_t kSkip = -1;
constexpr std::int8_t kPad = -2;

constexpr std::array<std::int8_t, 256> MakeDecodeTable() {
    std::array<std::int8_t, 256> table{};
    table.fill(kSkip);
    for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
    table['='] = kPad;
    return table;
}

constexpr std::array<std::int8_t, 256> kDecode = MakeDecodeTable();

std::size_t EncodedSize(std::size_t bytes) { return (bytes + 2) / 3 * 4; }

}  // namespace

void AppendBase64(std::string& out, std::string_view bytes) {
    const std::size_t at = out.size();
    out.resize(at + EncodedSize(bytes.size()));
    char* to = out.data() + at;
    const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    for (; left >= 3; left -= 3, from += 3) {
        const std::uint32_t group = (std::uint32_t{from[0]} << 16) | (std::uint32_t{from[1]} << 8) | from[2];
        *to++ = kAlphabet[group >> 18];
        *to++ = kAlphabet[(group >> 12) & 63];
        *to++ = kAlphabet[(group >> 6) & 63];
        *to++ = kAlphabet[group & 63];
    }
    if (left > 0) {
        const std::uint32_t group = (std::uint32_t{from[0]} << 16) | (left == 2 ? std::uint32_t{from[1]} << 8 : 0);
        *to++ = kAlphabet[group >> 18];
        *to++ = kAlphabet[(group >> 12) & 63];
        *to++ = left == 2 ? kAlphabet[(group >> 6) & 63] : '=';
        *to++ = '=';
    }
}

String Base64Encode(const String& bytes) {
    std::string out;
    AppendBase64(out, bytes.Bytes());
    return String(std::move(out));
}

String Base64Decode(const String& text) {
    const std::string_view in = text.Bytes();
    std::string out(in.size() / 4 * 3 + 3, '\0');
    char* to = out.data();
    std::uint32_t group = 0;
    int bits = 0;
    for (std::size_t i = 0; i < in.size();) {
        // Four alphabet characters on a group boundary: the common case, in one step.
        if (bits == 0 && i + 4 <= in.size()) {
            const std::int32_t a = kDecode[static_cast<unsigned char>(in[i])];
            const std::int32_t b = kDecode[static_cast<unsigned char>(in[i + 1])];
            const std::int32_t c = kDecode[static_cast<unsigned char>(in[i + 2])];
            const std::int32_t d = kDecode[static_cast<unsigned char>(in[i + 3])];
            if ((a | b | c | d) >= 0) {
                const auto four = static_cast<std::uint32_t>((a << 18) | (b << 12) | (c << 6) | d);
                *to++ = static_cast<char>(four >> 16);
                *to++ = static_cast<char>((four >> 8) & 0xFF);
                *to++ = static_cast<char>(four & 0xFF);
                i += 4;
                continue;
            }
        }
        const std::int8_t value = kDecode[static_cast<unsigned char>(in[i++])];
        if (value == kPad) break;
        if (value == kSkip) continue;
        group = (group << 6) | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            *to++ = static_cast<char>((group >> bits) & 0xFF);
        }
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
    return String(std::move(out));
}

String EncodeBase64(const String& data, std::int32_t lineWrap) {
    const String oneLine = Base64Encode(data);
    if (lineWrap <= 0 || oneLine.Size() <= static_cast<std::size_t>(lineWrap)) return oneLine;
    const std::string_view encoded = oneLine.Bytes();
    const auto width = static_cast<std::size_t>(lineWrap);
    std::string out;
    out.reserve(encoded.size() + encoded.size() / width * 2);
    for (std::size_t at = 0; at < encoded.size(); at += width) {
        if (at > 0) out += "\r\n";
        out += encoded.substr(at, width);
    }
    return String(std::move(out));
}

}  // namespace qv
