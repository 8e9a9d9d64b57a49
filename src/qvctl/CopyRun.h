#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/RunLoop.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Options.h"
#include "qvctl/Session.h"

namespace qv::ctl {

// qvctl's exit status when the copy ended with "Status: Abort"; beside 0 to 5.
inline constexpr int kCopyAbortedStatus = 6;

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

private:
    void Take(const String& reply);
    void SendAbort();

    Session session_;
    bool running_ = false;
    bool abortRequested_ = false;
    bool abortSent_ = false;
    std::optional<CopyEnd> end_;
};

// `qvctl copy`: the whole command, with its output on standard output, its
// messages on standard error and Ctrl-C as the abort. Gives the exit status.
int RunCopy(const Options& options);

}  // namespace qv::ctl
