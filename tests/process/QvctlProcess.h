#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace qv::test {

// The real qvctl, running, with its standard output on a pipe, so that a test
// can act on what it has printed so far (send it a signal, for one).
class QvctlProcess {
public:
    explicit QvctlProcess(std::vector<std::string> args);
    ~QvctlProcess();  // kills a process still running
    QvctlProcess(const QvctlProcess&) = delete;
    QvctlProcess& operator=(const QvctlProcess&) = delete;

    // True once `text` has appeared on standard output within `limitMs`.
    bool WaitForOutput(const std::string& text, int limitMs);
    void Signal(int signal);
    // Its exit status once it has ended within `limitMs`, with all of its
    // output read; -1 when a signal ended it.
    std::optional<int> WaitForExit(int limitMs);
    const std::string& Output() const { return output_; }

private:
    // Reads what is there within `limitMs`; false once the pipe has closed.
    bool ReadSome(int limitMs);

    pid_t pid_ = -1;
    int stdout_ = -1;
    std::string output_;
    std::optional<int> exitStatus_;
};

}  // namespace qv::test
