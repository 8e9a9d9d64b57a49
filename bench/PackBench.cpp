// Packing and unpacking one large message, next to zlib's one-shot calls alone
// on the same bytes: the difference is what the size prefix, Base64 and the
// framing cost. CPU time of this thread, pair by pair (PairedRuns.h).

#include <zlib.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Figures.h"
#include "Inputs.h"
#include "PairedRuns.h"
#include "protocol/Frame.h"

namespace qv::bench {

namespace {

constexpr std::size_t kMessageBytes = std::size_t{8} << 20;
constexpr int kPairs = 15;
// Unpacking takes a few milliseconds; a run of several makes each side's
// time long against the clock's tick and the scheduler's interruptions.
constexpr int kUnpacksPerRun = 8;

const String& Message() {
    static const String message(HtmlText(kMessageBytes));
    return message;
}

// zlib's stream of `text` in `out`, made beforehand as large as it may need;
// gives the stream's size.
std::size_t ZlibCompress(std::string_view text, std::string& out) {
    uLongf size = out.size();
    if (compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
                 static_cast<uLong>(text.size())) != Z_OK) {
        throw std::runtime_error("compress failed");
    }
    return size;
}

std::string CompressionRoom() {
    return std::string(compressBound(static_cast<uLong>(kMessageBytes)), '\0');
}

}  // namespace

std::string MeasurePackFrame() {
    const String& message = Message();
    std::string compressed = CompressionRoom();
    const Pairs pairs = RunPairs(
        kPairs,
        [&] {
            return CpuSeconds(1, [&] {
                if (MakeFrame(message).Size() <= kFrameStart.size() + kFrameEnd.size())
                    throw std::runtime_error("MakeFrame gave no payload");
            });
        },
        [&] { return CpuSeconds(1, [&] { ZlibCompress(message.Bytes(), compressed); }); });
    return FigureJson("PackFrame", "cpu", pairs);
}

std::string MeasureUnpackPayload() {
    const std::string frame(MakeFrame(Message()).Bytes());
    const std::string_view payload =
        std::string_view(frame).substr(kFrameStart.size(), frame.size() - kFrameStart.size() - kFrameEnd.size());
    std::string compressed = CompressionRoom();
    compressed.resize(ZlibCompress(Message().Bytes(), compressed));
    std::string text(kMessageBytes, '\0');
    const Pairs pairs = RunPairs(
        kPairs,
        [&] {
            return CpuSeconds(kUnpacksPerRun, [&] {
                if (DecodePayload(payload).Size() != kMessageBytes)
                    throw std::runtime_error("the payload did not unpack");
            });
        },
        [&] {
            return CpuSeconds(kUnpacksPerRun, [&] {
                uLongf size = text.size();
                if (uncompress(reinterpret_cast<Bytef*>(text.data()), &size,
                               reinterpret_cast<const Bytef*>(compressed.data()),
                               static_cast<uLong>(compressed.size())) != Z_OK ||
                    size != kMessageBytes) {
                    throw std::runtime_error("uncompress failed");
                }
            });
        });
    return FigureJson("UnpackPayload", "cpu", pairs);
}

}  // namespace qv::bench
