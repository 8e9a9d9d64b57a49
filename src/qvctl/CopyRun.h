#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "foundation/RunLoop.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Options.h"
#include "qvctl/Session.h"

namespace qv::ctl {

// The assistant starts a command at its next tick, 2 s apart, and reports
// after the first 2 MiB have gone; a copy it drops says nothing at all.
inline constexpr Duration kFirstReportWait = std::chrono::seconds(10);

// One copy from qvctl's side: the CopyFile command, every report as it comes,
// and on request one CopyFileAbort, after which it goes on waiting for the end
// report. It runs on the caller's loop.
class CopyRun {
public:
    CopyRun(RunLoop& loop, std::string socketPath, const std::vector<Field>& fields,
            std::optional<Duration> wait);

    std::function<void(const String& messageText)> onReply;

    void Start();
    // A CopyFileAbort stops a copy only while it runs: one that came before
    // would wait in the assistant's queue behind the copy, stop nothing, and
    // be answered after the copy's own end. So a request made before the first
    // progress report is held until that report comes. True when the copy has
    // begun, so that the abort is on its way.
    bool RequestAbort();
    // Set once the run has ended; Done when the end report came.
    std::optional<Outcome> Result() const { return session_.Result(); }
    // What the end report said.
    std::optional<CopyEnd> End() const { return end_; }
    // True when no report came within kFirstReportWait: the run ended NoReply.
    bool NotStarted() const { return notStarted_; }

private:
    void Take(const String& reply);
    void SendAbort();

    RunLoop& loop_;
    Session session_;
    RunLoop::Pending firstReport_;
    bool notStarted_ = false;
    bool running_ = false;
    bool abortRequested_ = false;
    bool abortSent_ = false;
    std::optional<CopyEnd> end_;
};

// Why a copy may not have started, for standard error.
std::string NotStartedMessage();

// `qvctl copy`: the whole command, with its output on standard output, its
// messages on standard error and Ctrl-C as the abort. Gives the exit status.
int RunCopy(const Options& options);

}  // namespace qv::ctl
