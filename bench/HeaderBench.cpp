// Parsing a header block in which a server repeats one name 40,000 times,
// against a block of 40,000 names each its own, both of 40,000 lines of 14
// bytes. Every repeat is kept under its own numbered key ("X-0000000:1", ...),
// and finding the next free number must not search from 1 each time: then a
// repeat costs about what a new name does, where a search from 1 would make
// the block cost thousands of times as much. CPU time of this thread, pair by
// pair (PairedRuns.h).

#include <cstddef>
#include <stdexcept>
#include <string>

#include "Figures.h"
#include "Inputs.h"
#include "PairedRuns.h"
#include "headers/InternetHeaders.h"

namespace qv::bench {

namespace {

constexpr std::size_t kLines = 40'000;
constexpr int kPairs = 15;
// A parse takes a few milliseconds; a run of several makes each side's time
// long against the clock's tick and the scheduler's interruptions.
constexpr int kParsesPerRun = 8;

double ParseSeconds(const String& block) {
    return CpuSeconds(kParsesPerRun, [&] {
        InternetHeaders headers;
        headers._ParseHeaders(block);
        if (headers.Count() != static_cast<int>(kLines)) throw std::runtime_error("values lost");
    });
}

}  // namespace

std::string MeasureParseRepeatedHeader() {
    const String repeated(HeaderBlock(kLines, HeaderNames::OneRepeated));
    const String distinct(HeaderBlock(kLines, HeaderNames::Distinct));
    const Pairs pairs = RunPairs(kPairs, [&] { return ParseSeconds(repeated); }, [&] { return ParseSeconds(distinct); });
    return FigureJson("ParseRepeatedHeader", "cpu", pairs);
}

}  // namespace qv::bench
