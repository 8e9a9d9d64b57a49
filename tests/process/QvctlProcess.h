#pragma once

#include <optional>
#include <string>
#include <vector>

#include "process/ChildProcess.h"

namespace qv::test {

// The real qvctl, running, so that a test can act on what it has printed so
// far (send it a signal, for one).
class QvctlProcess : public ChildProcess {
public:
    explicit QvctlProcess(std::vector<std::string> args) : ChildProcess(QVCTL_BINARY, std::move(args)) {}

    // True once `text` has appeared on standard output within `limitMs`.
    bool WaitForOutput(const std::string& text, int limitMs) {
        return ChildProcess::WaitForOutput(Stream::Out, text, limitMs);
    }
    // Its exit status once it has ended within `limitMs`; -1 when a signal ended it.
    std::optional<int> WaitForExit(int limitMs) { return ExitCode(ChildProcess::WaitForExit(limitMs)); }
    const std::string& Output() const { return Out(); }
};

}  // namespace qv::test
