#include "PairedRuns.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include "Processes.h"

namespace qv::bench {

namespace {

double ThreadCpuNow() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

Pairs RunPairs(int count, const Side& ours, const Side& peer, int warmUpPairs) {
    Pairs pairs;
    for (int pair = -warmUpPairs; pair < count; ++pair) {
        const bool oursFirst = pair % 2 == 0;
        const double first = oursFirst ? ours() : peer();
        const double second = oursFirst ? peer() : ours();
        if (pair < 0) continue;
        pairs.ours.push_back(oursFirst ? first : second);
        pairs.peer.push_back(oursFirst ? second : first);
    }
    return pairs;
}

Pairs RunPairsInProcesses(int processes, int count, const Side& ours, const Side& peer) {
    Pairs pairs;
    const std::size_t values = 2 * static_cast<std::size_t>(count);
    const auto bytes = static_cast<ssize_t>(values * sizeof(double));
    for (int process = 0; process < processes; ++process) {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("no pipe for a run's process");
        // Both sides' seconds in one write, within PIPE_BUF and the pipe's
        // room, so it is whole and waits there for the reading below.
        const bool ran = InOwnProcess([&] {
            Pairs own = RunPairs(count, ours, peer);
            own.ours.insert(own.ours.end(), own.peer.begin(), own.peer.end());
            if (write(ends[1], own.ours.data(), values * sizeof(double)) != bytes)
                throw std::runtime_error("a run's times were not sent");
        });
        close(ends[1]);
        std::vector<double> both(values);
        const ssize_t got = ran ? read(ends[0], both.data(), values * sizeof(double)) : -1;
        close(ends[0]);
        if (got != bytes) throw std::runtime_error("a run's process failed");
        pairs.ours.insert(pairs.ours.end(), both.begin(), both.begin() + count);
        pairs.peer.insert(pairs.peer.end(), both.begin() + count, both.end());
    }
    return pairs;
}

double CpuSeconds(int repeats, const std::function<void()>& work) {
    const double start = ThreadCpuNow();
    for (int i = 0; i < repeats; ++i) work();
    return ThreadCpuNow() - start;
}

double WallSeconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string JsonList(const std::vector<double>& values) {
    std::string out = "[";
    char number[32];
    for (const double value : values) {
        std::snprintf(number, sizeof number, "%.9g", value);
        out += (out.size() > 1 ? ", " : "") + std::string(number);
    }
    return out + "]";
}

std::string FigureJson(std::string_view name, std::string_view clock, const Pairs& pairs,
                       const std::vector<std::string>& extra) {
    std::string line = "{\"figure\": \"" + std::string(name) + "\", \"clock\": \"" + std::string(clock) +
                       "\", \"ours\": " + JsonList(pairs.ours) + ", \"peer\": " + JsonList(pairs.peer);
    for (const std::string& field : extra) line += ", " + field;
    return line + "}";
}

double Median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace qv::bench
