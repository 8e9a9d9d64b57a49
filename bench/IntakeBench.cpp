// Cutting frames out of the receive buffer, each case at two sizes a tenfold
// apart: the time per MiB of stream should not grow with the size. Rates
// count bytes of the stream.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Inputs.h"
#include "protocol/Frame.h"

namespace {

constexpr std::size_t kReadBytes = 4096;

// `count` frames of small commands back to back, as one read brings them.
const std::string& SmallFrames(std::size_t count) {
    static std::map<std::size_t, std::string> made;
    std::string& stream = made[count];
    if (stream.empty()) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string command = "Command\rGetPageURL\rGetPageURL\rhttp://news.example.org/story/" +
                                        std::to_string(i) + ".html";
            stream += qv::MakeFrame(qv::String(command)).Bytes();
        }
    }
    return stream;
}

// One frame of about `bytes` bytes: an incompressible message of three
// quarters that size, which Base64 brings back up to it.
const std::string& LargeFrame(std::size_t bytes) {
    static std::map<std::size_t, std::string> made;
    std::string& frame = made[bytes];
    if (frame.empty()) frame = qv::MakeFrame(qv::String(qv::bench::NoiseBytes(bytes / 4 * 3))).Bytes();
    return frame;
}

void BM_IntakeSmallFrames(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::string& stream = SmallFrames(count);
    qv::FrameBuffer buffer;
    for (auto _ : state) {
        buffer.Append(stream);
        std::size_t taken = 0;
        while (const std::optional<qv::String> payload = buffer.TakeFrame()) {
            benchmark::DoNotOptimize(qv::DecodePayload(payload->Bytes()));
            ++taken;
        }
        if (taken != count || !buffer.Pending().empty()) state.SkipWithError("frames lost");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * stream.size()));
}

void BM_IntakeLargeFrame(benchmark::State& state) {
    const std::string_view frame = LargeFrame(static_cast<std::size_t>(state.range(0)));
    qv::FrameBuffer buffer;
    for (auto _ : state) {
        std::optional<qv::String> payload;
        for (std::size_t at = 0; at < frame.size(); at += kReadBytes) {
            buffer.Append(frame.substr(at, kReadBytes));
            payload = buffer.TakeFrame();
        }
        if (!payload || !buffer.Pending().empty()) state.SkipWithError("frame not taken whole");
        benchmark::DoNotOptimize(payload);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * frame.size()));
}

}  // namespace

BENCHMARK(BM_IntakeSmallFrames)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntakeLargeFrame)->Arg((16 << 20) / 10)->Arg(16 << 20)->Unit(benchmark::kMillisecond);
