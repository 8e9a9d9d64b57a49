#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "support/Support.h"

namespace qv::test {

// One of the project's programs, running, with its standard output and error
// in files of their own, so that it never waits on a full pipe. Killed if
// still running at the end.
class ChildProcess {
public:
    ChildProcess(const char* binary, std::vector<std::string> args);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // True once `text` has appeared on standard output (or error) within `limitMs`.
    bool WaitForOutput(const std::string& text, int limitMs, bool onError = false);
    void Signal(int signal);
    // The exit status once it has ended within `limitMs`; -1 when a signal ended it.
    std::optional<int> WaitForExit(int limitMs);
    std::string Out() const { return Read("out"); }
    std::string Err() const { return Read("err"); }

private:
    std::string Read(const char* name) const;

    TempDir files_;
    pid_t pid_ = -1;
    std::optional<int> status_;
};

// The real assistant, at /tmp/qvipc of the test's private /tmp.
class Assistant : public ChildProcess {
public:
    static constexpr const char* kChannel = "/tmp/qvipc";
    Assistant() : ChildProcess(QVASSISTANT_BINARY, {}) {}
    // Once its socket stands, mode 0600. Connecting to find out would make
    // us its one peer.
    bool WaitUntilListening();
};

struct QvctlRun {
    std::optional<int> exitStatus;
    std::string out, err;
};
QvctlRun RunQvctl(std::vector<std::string> args, int limitMs = 20000);

// Every process test runs in a mount namespace of its own, with an empty
// tmpfs on /tmp: the machine's /tmp/qvipc is never touched, and an assistant
// running there never disturbs the test. Where no namespace can be made, the
// test is skipped with the reason.
class ProcessTest : public ::testing::Test {
protected:
    void SetUp() override;
};

}  // namespace qv::test
