#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/RunLoop.h"
#include "qvctl/Command.h"
#include "qvctl/Link.h"

namespace qv::ctl {

// How a session ended; the values are qvctl's exit status.
enum class Outcome {
    // The expected reply came; for a command without one, the connection
    // stayed up for the whole wait; for `send`, at least one reply came.
    Done = 0,
    // Connected, but what was waited for did not come in time.
    NoReply = 2,
    // No connection, or it was lost before what was waited for came.
    Unreachable = 3,
};

struct SessionPlan {
    std::string socketPath;
    String frame;
    WaitFor waitFor;
    // None: no limit.
    std::optional<Duration> wait;
    // For WaitFor::LastReply: whether a reply's message text is the last one.
    std::function<bool(const String& messageText)> isLast = nullptr;
};

// The session that the parsed options ask for: their command, framed, with
// their --wait or else the command's own.
SessionPlan PlanFor(const Options& options);

// One connection to the assistant: send one frame, take in the replies, end
// by the plan. It runs on the caller's loop, and the wait is a timer on the
// loop's clock, so a test can drive it with a manual one.
class Session {
public:
    Session(RunLoop& loop, SessionPlan plan);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // The message text of each reply, in arrival order.
    std::function<void(const String& messageText)> onReply;

    // Connects, sends the frame and starts the wait; the loop does the rest.
    void Start();
    // Sends one more frame on the same connection; nothing once it has ended.
    void Send(const String& frame);
    // Set once the session has ended; the connection is closed by then.
    std::optional<Outcome> Result() const { return result_; }
    // Ends it now, unless it has ended already.
    void Finish(Outcome outcome);

private:
    void TakeReply(const String& reply);
    void WaitOver();
    void ConnectionLost();

    RunLoop& loop_;
    SessionPlan plan_;
    Link link_;
    RunLoop::Pending deadline_;
    int replies_ = 0;
    std::optional<Outcome> result_;
};

// What qvctl says on standard error about a session that ended other than
// Done, one line; empty for Done.
std::string OutcomeMessage(Outcome outcome, std::string_view socketPath);

// Starts the session and runs the loop until it has ended.
Outcome RunSession(RunLoop& loop, Session& session);

}  // namespace qv::ctl
