// The frame cutter, fed arbitrary bytes in arbitrary pieces, must cut exactly
// what a plain quadratic restatement of the cutting rule cuts from the whole
// input at once: a differential test of its remembered searches.
//
// Input: byte 0 gives how many piece sizes follow (0 to 7); each of them, plus
// one, is the length of a piece, used in turn; the rest is the stream. With no
// sizes the stream arrives in one piece.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/Frame.h"

namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The first offset at which `marker` stands in `bytes`, ASCII letter case
// ignored, found by trying every offset in turn.
std::optional<std::size_t> FindFirst(std::string_view bytes, std::string_view marker) {
    for (std::size_t at = 0; at + marker.size() <= bytes.size(); ++at) {
        std::size_t matched = 0;
        while (matched < marker.size() && Lower(bytes[at + matched]) == Lower(marker[matched])) ++matched;
        if (matched == marker.size()) return at;
    }
    return std::nullopt;
}

struct Cut {
    std::vector<std::string> payloads;
    std::string pending;
};

// Both markers sought from the front, independently; the payload lies between
// them, or is empty when "_End" comes first; the buffer is cut behind "_End".
Cut ReferenceCut(std::string_view stream) {
    Cut cut;
    std::string buffer(stream);
    for (;;) {
        const std::optional<std::size_t> start = FindFirst(buffer, "Start_");
        const std::optional<std::size_t> end = FindFirst(buffer, "_End");
        if (!start || !end) break;
        const std::size_t from = *start + 6;
        cut.payloads.push_back(*end > from ? buffer.substr(from, *end - from) : std::string());
        buffer = buffer.substr(*end + 4);
    }
    cut.pending = buffer;
    return cut;
}

void Check(bool holds) {
    if (!holds) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t sizeCount = std::min<std::size_t>(static_cast<unsigned char>(input[0]) % 8, size - 1);
    const std::string_view pieceSizes = input.substr(1, sizeCount);
    const std::string_view stream = input.substr(1 + sizeCount);

    qv::FrameBuffer buffer;
    std::vector<std::string> payloads;
    for (std::size_t at = 0, piece = 0; at < stream.size(); ++piece) {
        const std::size_t length =
            pieceSizes.empty() ? stream.size()
                               : static_cast<unsigned char>(pieceSizes[piece % pieceSizes.size()]) + 1u;
        buffer.Append(stream.substr(at, length));
        at += std::min(length, stream.size() - at);
        while (const std::optional<qv::String> payload = buffer.TakeFrame()) {
            payloads.emplace_back(payload->Bytes());
            qv::DecodePayload(payload->Bytes());
        }
    }

    const Cut expected = ReferenceCut(stream);
    Check(payloads == expected.payloads);
    Check(buffer.Pending() == expected.pending);
    return 0;
}
