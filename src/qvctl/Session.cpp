#include "qvctl/Session.h"

#include <utility>

#include "protocol/CommandText.h"

namespace qv::ctl {

SessionPlan PlanFor(const Options& options) {
    const Command command = CommandFor(options);
    return {options.socketPath, MakeFrame(CommandText(command.fields)), command.waitFor,
            options.wait.value_or(command.defaultWait)};
}

Session::Session(RunLoop& loop, SessionPlan plan)
    : loop_(loop), plan_(std::move(plan)), link_(loop, plan_.socketPath) {
    link_.onReply = [this](const String& reply) { TakeReply(reply); };
    link_.onLost = [this] { ConnectionLost(); };
}

void Session::Start() {
    if (plan_.wait) {
        deadline_ = loop_.AddTimer(loop_.GetClock().Now() + *plan_.wait, [this] { WaitOver(); });
    }
    link_.Connect();
    Send(plan_.frame);
}

void Session::Send(const String& frame) {
    // Queued until the connection is made; dropped with it if it fails.
    if (!result_) link_.Send(frame);
}

void Session::TakeReply(const String& reply) {
    if (result_) return;
    ++replies_;
    if (onReply) onReply(reply);
    if (plan_.waitFor == WaitFor::FirstReply ||
        (plan_.waitFor == WaitFor::LastReply && plan_.isLast(reply))) {
        Finish(Outcome::Done);
    }
}

void Session::WaitOver() {
    if (result_) return;
    // A lost connection reads as not connected here even before its Error
    // event has been delivered.
    const bool connected = link_.IsConnected();
    // A first or last reply would have ended the session when it came.
    const bool done =
        plan_.waitFor == WaitFor::NoReply ? connected : plan_.waitFor == WaitFor::EveryReply && replies_ > 0;
    Finish(done ? Outcome::Done : connected ? Outcome::NoReply : Outcome::Unreachable);
}

void Session::ConnectionLost() {
    if (result_) return;
    // Replies that came before the close have been delivered by now.
    Finish(plan_.waitFor == WaitFor::EveryReply && replies_ > 0 ? Outcome::Done : Outcome::Unreachable);
}

void Session::Finish(Outcome outcome) {
    if (result_) return;
    result_ = outcome;
    deadline_.Reset();
    link_.Close();
}

std::string OutcomeMessage(Outcome outcome, std::string_view socketPath) {
    switch (outcome) {
        case Outcome::NoReply:
            return "qvctl: no reply in time\n";
        case Outcome::Unreachable:
            return "qvctl: cannot reach the assistant at " + std::string(socketPath) + "\n";
        case Outcome::Done:
            break;
    }
    return "";
}

Outcome RunSession(RunLoop& loop, Session& session) {
    session.Start();
    while (!session.Result()) loop.RunOnce(std::nullopt);
    return *session.Result();
}

}  // namespace qv::ctl
