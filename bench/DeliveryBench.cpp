// Delivering an 8 MiB page to the channel's peer: sendPageToQuorvane, as a
// fetch's end calls it once the server has closed, until the last byte of the
// frame has reached the peer; against zlib's compress and Base64 of the same
// report text alone, into buffers made beforehand: the work that a delivery
// cannot avoid. Wall-clock times, since the peer reads on a thread of its own.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ChannelRig.h"
#include "Inputs.h"
#include "foundation/Base64.h"
#include "protocol/Frame.h"

namespace {

constexpr std::size_t kPageBytes = std::size_t{8} << 20;

const qv::String& Page() {
    static const qv::String page(qv::bench::HtmlText(kPageBytes));
    return page;
}

// The report text as it was delivered, decoded from the wire once.
const std::string& ReportText() {
    static const std::string text = [] {
        qv::bench::ChannelRig rig(qv::bench::ChannelRig::KeepFrames::Yes);
        if (!rig.Ready() || !rig.DeliverPage(qv::bench::TypicalHeaders(kPageBytes), Page()))
            return std::string();
        const std::string frame = rig.LastFrame();
        const std::string_view payload = std::string_view(frame).substr(
            qv::kFrameStart.size(), frame.size() - qv::kFrameStart.size() - qv::kFrameEnd.size());
        return std::string(qv::DecodePayload(payload).Bytes());
    }();
    return text;
}

void BM_DeliverPage(benchmark::State& state) {
    qv::bench::ChannelRig rig;
    if (!rig.Ready()) {
        state.SkipWithError("the channel did not come up");
        return;
    }
    const qv::HTTPSocket::Headers headers = qv::bench::TypicalHeaders(kPageBytes);
    for (auto _ : state) {
        if (!rig.DeliverPage(headers, Page())) {
            state.SkipWithError("the peer did not receive the frame");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPageBytes));
}

void BM_CompressAndEncodeReport(benchmark::State& state) {
    const std::string& text = ReportText();
    if (text.size() < kPageBytes) {
        state.SkipWithError("no report text to measure");
        return;
    }
    std::string compressed(compressBound(static_cast<uLong>(text.size())), '\0');
    std::string encoded;
    encoded.reserve((compressed.size() + 2) / 3 * 4);
    for (auto _ : state) {
        uLongf size = compressed.size();
        if (compress(reinterpret_cast<Bytef*>(compressed.data()), &size,
                     reinterpret_cast<const Bytef*>(text.data()), static_cast<uLong>(text.size())) != Z_OK) {
            state.SkipWithError("compress failed");
            break;
        }
        encoded.clear();
        qv::AppendBase64(encoded, std::string_view(compressed.data(), size));
        benchmark::DoNotOptimize(encoded.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kPageBytes));
}

}  // namespace

BENCHMARK(BM_DeliverPage)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompressAndEncodeReport)->UseRealTime()->Unit(benchmark::kMillisecond);
