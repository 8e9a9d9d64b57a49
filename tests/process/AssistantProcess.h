#pragma once

#include <optional>
#include <string>

#include "process/ChildProcess.h"

namespace qv::test {

// The real assistant binary; its log comes on standard error.
class AssistantProcess : public ChildProcess {
public:
    AssistantProcess() : ChildProcess(QVASSISTANT_BINARY, {}) {}
    ~AssistantProcess() override;  // ends a process still running, as a person would

    // True once `text` has appeared on standard error within `limitMs`.
    bool WaitForOutput(const std::string& text, int limitMs = 5000) {
        return ChildProcess::WaitForOutput(Stream::Err, text, limitMs);
    }
    // True once it has written its first log line and its own socket stands at
    // `path`: a socket of mode 0600. Connecting to find out would make us its
    // one peer, whose departure ends it.
    bool WaitUntilListening(const std::string& path, int limitMs = 5000);
    // Sends SIGTERM and waits for the end.
    std::optional<int> Terminate();
    const std::string& Output() const { return Err(); }
};

}  // namespace qv::test
