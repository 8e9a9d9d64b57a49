#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace qv::test {

// One of the project's programs, running, with its standard output and
// standard error on pipes that are read together, so that a child filling one
// never stalls while the test waits on the other.
class ChildProcess {
public:
    enum class Stream { Out, Err };

    ChildProcess(const char* binary, std::vector<std::string> args);
    virtual ~ChildProcess();  // kills a process still running
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // True once `text` has appeared on `stream` within `limitMs`.
    bool WaitForOutput(Stream stream, const std::string& text, int limitMs);
    void Signal(int signal);
    // The raw wait status once it has ended within `limitMs`, with all of its
    // output read.
    std::optional<int> WaitForExit(int limitMs);
    const std::string& Out() const { return output_[0]; }
    const std::string& Err() const { return output_[1]; }

private:
    // Reads what comes on either pipe within `limitMs`; false once both closed.
    bool ReadSome(int limitMs);

    pid_t pid_ = -1;
    int pipes_[2] = {-1, -1};
    std::string output_[2];
    std::optional<int> status_;
};

// True for a wait status of a normal exit with status 0.
bool ExitedWithZero(const std::optional<int>& status);
// The exit status of a normal exit; -1 when a signal ended it.
std::optional<int> ExitCode(const std::optional<int>& status);

}  // namespace qv::test
