#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace qv::test {

// The real assistant binary, started with its standard error on a pipe.
class AssistantProcess {
public:
    AssistantProcess();
    ~AssistantProcess();  // terminates a process still running
    AssistantProcess(const AssistantProcess&) = delete;
    AssistantProcess& operator=(const AssistantProcess&) = delete;

    // True once `text` has appeared on standard error within `limitMs`.
    bool WaitForOutput(const std::string& text, int limitMs = 5000);
    // True once it has written its first log line and its own socket stands at
    // `path`: a socket of mode 0600. Connecting to find out would make us its
    // one peer, whose departure ends it.
    bool WaitUntilListening(const std::string& path, int limitMs = 5000);
    // The raw wait status once it has ended within `limitMs`.
    std::optional<int> WaitForExit(int limitMs);
    // Sends SIGTERM and waits for the end.
    std::optional<int> Terminate();
    const std::string& Output() const { return output_; }

private:
    pid_t pid_ = -1;
    int stderr_ = -1;
    std::string output_;
    std::optional<int> status_;
};

// True for a wait status of a normal exit with status 0.
bool ExitedWithZero(const std::optional<int>& status);

}  // namespace qv::test
