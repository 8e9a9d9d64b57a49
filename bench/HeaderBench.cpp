// Parsing a header block in which a server repeats one name 40,000 times
// (240 KB of "X: v"): every value is kept under its own numbered key, and
// finding the next free number must not search from 1 each time.

#include <benchmark/benchmark.h>

#include <string>

#include "headers/InternetHeaders.h"

namespace {

void BM_ParseRepeatedHeader(benchmark::State& state) {
    const auto repeats = static_cast<int>(state.range(0));
    std::string text = "HTTP/1.0 200 OK\r\n";
    for (int i = 0; i < repeats; ++i) text += "X: v\r\n";
    const qv::String block(text);
    for (auto _ : state) {
        qv::InternetHeaders headers;
        headers._ParseHeaders(block);
        if (headers.Count() != repeats) state.SkipWithError("values lost");
        benchmark::DoNotOptimize(headers);
    }
}

}  // namespace

BENCHMARK(BM_ParseRepeatedHeader)->Arg(40'000)->Unit(benchmark::kMillisecond);
