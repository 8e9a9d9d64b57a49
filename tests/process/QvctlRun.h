#pragma once

#include <string>
#include <vector>

namespace qv::test {

struct QvctlRun {
    int exitStatus = -1;  // -1 when it did not exit normally
    std::string out;
    std::string err;
};

// Runs the real qvctl with `args` and collects both of its outputs. It is
// killed when it has not ended within `limitMs`.
QvctlRun RunQvctl(std::vector<std::string> args, int limitMs = 20000);

}  // namespace qv::test
