// Parsing a header block in which a server repeats one name 40,000 times,
// against a block of 40,000 names each its own, both of 40,000 lines of 14
// bytes. Every repeat is kept under its own numbered key ("X-0000000:1", ...),
// and finding the next free number must not search from 1 each time: then a
// repeat costs about what a new name does, where a search from 1 would make
// the block cost thousands of times as much.

#include <benchmark/benchmark.h>

#include <string>

#include "Inputs.h"
#include "headers/InternetHeaders.h"

namespace {

void Parse(benchmark::State& state, qv::bench::HeaderNames names) {
    const auto lines = static_cast<int>(state.range(0));
    const qv::String block(qv::bench::HeaderBlock(static_cast<std::size_t>(lines), names));
    for (auto _ : state) {
        qv::InternetHeaders headers;
        headers._ParseHeaders(block);
        if (headers.Count() != lines) state.SkipWithError("values lost");
        benchmark::DoNotOptimize(headers);
    }
}

void BM_ParseRepeatedHeader(benchmark::State& state) {
    Parse(state, qv::bench::HeaderNames::OneRepeated);
}

void BM_ParseDistinctHeaders(benchmark::State& state) {
    Parse(state, qv::bench::HeaderNames::Distinct);
}

}  // namespace

BENCHMARK(BM_ParseRepeatedHeader)->Arg(40'000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseDistinctHeaders)->Arg(40'000)->Unit(benchmark::kMillisecond);
