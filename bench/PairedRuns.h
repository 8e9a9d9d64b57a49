#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qv::bench {

// Our side and the peer's measured in turns, pair by pair, so that whatever
// the machine does meanwhile (other builds, the host's own work) falls on both
// sides of a pair alike; the figure is then the median of the pairs' ratios,
// with their quartiles as its spread. Which side goes first alternates from
// pair to pair. The pairs before them (one unless told) are not kept: they
// make the inputs and touch the memory that the others reuse.

struct Pairs {
    std::vector<double> ours;  // seconds, one a pair
    std::vector<double> peer;
};

// Each side returns the seconds that one run of it took.
using Side = std::function<double()>;

Pairs RunPairs(int count, const Side& ours, const Side& peer, int warmUpPairs = 1);
// RunPairs in `processes` child processes, one after another, `count` pairs
// (and a warm-up) each: for a figure that moves by a few per cent from one
// process to the next (where its memory lands), so that the quartiles show
// that spread and the median does not rest on one process. The sides run in
// the children, on the inputs made before.
Pairs RunPairsInProcesses(int processes, int count, const Side& ours, const Side& peer);

// The CPU time of this thread over `repeats` calls of `work`: for work that
// runs on this thread alone, so that other load on the machine, which takes
// the processor away without charging this thread, hardly counts.
double CpuSeconds(int repeats, const std::function<void()>& work);
// Wall-clock time, for work in which another thread or process takes part.
double WallSeconds(const std::function<void()>& work);

// One line of JSON: {"figure": NAME, "clock": CLOCK, "ours": [...], "peer":
// [...]} and the fields in `extra` (already JSON, each `"key": value`).
std::string FigureJson(std::string_view name, std::string_view clock, const Pairs& pairs,
                       const std::vector<std::string>& extra = {});
std::string JsonList(const std::vector<double>& values);

// The middle value; the mean of the two middle ones for an even count.
double Median(std::vector<double> values);

}  // namespace qv::bench
