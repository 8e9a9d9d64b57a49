// Every layer of a payload gives back exactly what it was given, and the
// decoding layers take arbitrary bytes without harm.
//
// Input: the whole input is the message text, and also the arbitrary bytes
// handed to the decoders; byte 0 doubles as the line width for EncodeBase64.

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Base64.h"
#include "protocol/Frame.h"
#include "protocol/PayloadCodec.h"

namespace {

// The size prefix of a packed message holds 24 bits; a longer text cannot
// come back whole.
constexpr std::size_t kLargestWholeText = (std::size_t{1} << 24) - 1;

void Check(bool holds) {
    if (!holds) __builtin_trap();
}

void CheckFrameRoundTrip(const qv::String& text) {
    if (text.Size() > kLargestWholeText) return;
    qv::FrameBuffer buffer;
    buffer.Append(qv::MakeFrame(text).Bytes());
    const std::optional<qv::String> payload = buffer.TakeFrame();
    Check(payload.has_value() && buffer.Pending().empty());
    Check(qv::DecodePayload(payload->Bytes()).Bytes() == text.Bytes());
}

void CheckBase64RoundTrips(const qv::String& bytes, std::int32_t lineWrap) {
    Check(qv::Base64Decode(qv::Base64Encode(bytes)).Bytes() == bytes.Bytes());
    Check(qv::Base64Decode(qv::EncodeBase64(bytes, lineWrap)).Bytes() == bytes.Bytes());
}

// Arbitrary bytes: four characters stand for three bytes at most, and an
// unpacked text never exceeds the size its prefix announces.
void CheckDecodersOnArbitraryBytes(const qv::String& bytes) {
    Check(qv::Base64Decode(bytes).Size() <= bytes.Size() * 3 / 4);
    const std::string_view raw = bytes.Bytes();
    std::size_t announced = 0;
    for (std::size_t i = 0; i < 3 && i < raw.size(); ++i) {
        announced |= std::size_t{static_cast<unsigned char>(raw[i])} << (8 * i);
    }
    Check(qv::zDecompress(bytes).Size() <= announced);
}

// zlib, the reference, reads every stream we write, and we read every stream
// zlib writes, at the level the input's length picks.
void CheckZlibInteroperates(const qv::String& text) {
    if (text.Size() > kLargestWholeText) return;
    const std::string packed(qv::zCompress(text).Bytes());
    std::string out(text.Size() + 1, '\0');
    uLongf length = out.size();
    Check(uncompress(reinterpret_cast<Bytef*>(out.data()), &length,
                     reinterpret_cast<const Bytef*>(packed.data() + 3),
                     static_cast<uLong>(packed.size() - 3)) == Z_OK);
    Check(std::string_view(out.data(), length) == text.Bytes());

    uLongf size = compressBound(static_cast<uLong>(text.Size()));
    std::string theirs = packed.substr(0, 3) + std::string(size, '\0');
    Check(compress2(reinterpret_cast<Bytef*>(theirs.data() + 3), &size,
                    reinterpret_cast<const Bytef*>(text.Bytes().data()), static_cast<uLong>(text.Size()),
                    static_cast<int>(text.Size() % 10)) == Z_OK);
    theirs.resize(3 + size);
    Check(qv::zDecompress(qv::String(std::move(theirs))).Bytes() == text.Bytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qv::String bytes(std::string_view(reinterpret_cast<const char*>(data), size));
    CheckFrameRoundTrip(bytes);
    CheckBase64RoundTrips(bytes, size > 0 ? static_cast<std::int8_t>(data[0]) : 0);
    Check(qv::zDecompress(qv::zCompress(bytes)).Bytes() == bytes.Bytes());
    CheckDecodersOnArbitraryBytes(bytes);
    CheckZlibInteroperates(bytes);
    return 0;
}
