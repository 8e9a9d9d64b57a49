// Packing and unpacking one large message, next to zlib's one-shot calls alone
// on the same bytes: the difference is what the size prefix, Base64 and the
// framing cost. Rates count bytes of the message text.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Inputs.h"
#include "protocol/Frame.h"

namespace {

constexpr std::size_t kMessageBytes = std::size_t{8} << 20;

const qv::String& Message() {
    static const qv::String message(qv::bench::HtmlText(kMessageBytes));
    return message;
}

const std::string& Frame() {
    static const std::string frame(qv::MakeFrame(Message()).Bytes());
    return frame;
}

std::string_view Payload() {
    return std::string_view(Frame()).substr(qv::kFrameStart.size(),
                                            Frame().size() - qv::kFrameStart.size() - qv::kFrameEnd.size());
}

const std::string& Compressed() {
    static const std::string compressed = [] {
        const std::string_view text = Message().Bytes();
        uLongf size = compressBound(static_cast<uLong>(text.size()));
        std::string out(size, '\0');
        compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
                 static_cast<uLong>(text.size()));
        out.resize(size);
        return out;
    }();
    return compressed;
}

void BM_PackFrame(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(qv::MakeFrame(Message()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMessageBytes));
}

void BM_ZlibCompress(benchmark::State& state) {
    const std::string_view text = Message().Bytes();
    std::string out(compressBound(static_cast<uLong>(text.size())), '\0');
    for (auto _ : state) {
        uLongf size = out.size();
        if (compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
                     static_cast<uLong>(text.size())) != Z_OK) {
            state.SkipWithError("compress failed");
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMessageBytes));
}

void BM_UnpackPayload(benchmark::State& state) {
    const std::string_view payload = Payload();
    for (auto _ : state) {
        const qv::String text = qv::DecodePayload(payload);
        if (text.Size() != kMessageBytes) state.SkipWithError("payload did not unpack");
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMessageBytes));
}

void BM_ZlibUncompress(benchmark::State& state) {
    const std::string& compressed = Compressed();
    std::string out(kMessageBytes, '\0');
    for (auto _ : state) {
        uLongf size = out.size();
        if (uncompress(reinterpret_cast<Bytef*>(out.data()), &size,
                       reinterpret_cast<const Bytef*>(compressed.data()),
                       static_cast<uLong>(compressed.size())) != Z_OK) {
            state.SkipWithError("uncompress failed");
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kMessageBytes));
}

}  // namespace

BENCHMARK(BM_PackFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibCompress)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UnpackPayload)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibUncompress)->Unit(benchmark::kMillisecond);
