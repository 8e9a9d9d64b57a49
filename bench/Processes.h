#pragma once

#include <sys/resource.h>

#include <functional>
#include <string>
#include <vector>

namespace qv::bench {

// Wall-clock and CPU seconds (user and system) of one run.
struct RunTime {
    double wall = 0;
    double cpu = 0;
};

// A program, found on the PATH, run once as a person starts it, from its
// start to its exit. Throws std::runtime_error when it cannot start or does
// not exit with 0.
RunTime TimeProgram(std::vector<std::string> args);

// Runs `work` in a child process and waits for it; false when it threw (its
// message goes to standard error) or the child did not end well. What the
// child does to its memory and the C library's settings stays with it.
bool InOwnProcess(const std::function<void()>& work);

double CpuSecondsOf(const rusage& usage);

}  // namespace qv::bench
