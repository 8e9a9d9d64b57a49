// Delivering an 8 MiB page to the channel's peer: sendPageToQuorvane, as a
// fetch's end calls it once the server has closed, until the last byte of the
// frame has reached the peer; against zlib's compress and Base64 of the same
// report text alone, into buffers made beforehand: the work that a delivery
// cannot avoid. Wall-clock times, pair by pair (PairedRuns.h), since the peer
// reads on a thread of its own.

#include <zlib.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "ChannelRig.h"
#include "Figures.h"
#include "Inputs.h"
#include "PairedRuns.h"
#include "foundation/Base64.h"
#include "protocol/Frame.h"

namespace qv::bench {

namespace {

constexpr std::size_t kPageBytes = std::size_t{8} << 20;
constexpr int kPairs = 21;

// The report text as it was delivered, decoded from the wire once.
std::string ReportText(const HTTPSocket::Headers& headers, const String& page) {
    ChannelRig rig(ChannelRig::KeepFrames::Yes);
    if (!rig.Ready() || !rig.DeliverPage(headers, page)) throw std::runtime_error("the peer got no report");
    const std::string frame = rig.LastFrame();
    const std::string_view payload =
        std::string_view(frame).substr(kFrameStart.size(), frame.size() - kFrameStart.size() - kFrameEnd.size());
    return std::string(DecodePayload(payload).Bytes());
}

}  // namespace

std::string MeasureDeliverPage() {
    const String page(HtmlText(kPageBytes));
    const HTTPSocket::Headers headers = TypicalHeaders(kPageBytes);
    const std::string text = ReportText(headers, page);
    if (text.size() < kPageBytes) throw std::runtime_error("the report lacks the page");

    ChannelRig rig;
    if (!rig.Ready()) throw std::runtime_error("the channel did not come up");
    std::string compressed(compressBound(static_cast<uLong>(text.size())), '\0');
    std::string encoded;
    encoded.reserve((compressed.size() + 2) / 3 * 4);
    const Pairs pairs = RunPairs(
        kPairs,
        [&] {
            return WallSeconds([&] {
                if (!rig.DeliverPage(headers, page)) throw std::runtime_error("the peer did not receive the frame");
            });
        },
        [&] {
            return WallSeconds([&] {
                uLongf size = compressed.size();
                if (compress(reinterpret_cast<Bytef*>(compressed.data()), &size,
                             reinterpret_cast<const Bytef*>(text.data()), static_cast<uLong>(text.size())) != Z_OK) {
                    throw std::runtime_error("compress failed");
                }
                encoded.clear();
                AppendBase64(encoded, std::string_view(compressed.data(), size));
            });
        });
    return FigureJson("DeliverPage", "wall", pairs);
}

}  // namespace qv::bench
