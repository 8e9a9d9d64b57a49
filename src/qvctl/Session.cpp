#include "qvctl/Session.h"

#include <utility>

#include "protocol/CommandText.h"

namespace qv::ctl {

SessionPlan PlanFor(const Options& options) {
    const Command command = CommandFor(options);
    return {options.socketPath, MakeFrame(CommandText(command.fields)), command.waitFor,
            options.wait.value_or(command.defaultWait)};
}

Session::Session(RunLoop& loop, SessionPlan plan) : loop_(loop), plan_(std::move(plan)), socket_(loop) {
    socket_.SetPath(String(plan_.socketPath));
    socket_.onDataAvailable = [this] { TakeReplies(); };
    socket_.onError = [this] { ConnectionLost(); };
}

void Session::Start() {
    if (plan_.wait) {
        deadline_ = loop_.AddTimer(loop_.GetClock().Now() + *plan_.wait, [this] { WaitOver(); });
    }
    socket_.Connect();
    Send(plan_.frame);
}

void Session::Send(const String& frame) {
    // Queued until the connection is made; dropped with it if it fails.
    if (!result_) socket_.Write(frame);
}

void Session::TakeReplies() {
    frames_.Append(socket_.ReadAll().Bytes());
    while (!result_) {
        const auto payload = frames_.TakeFrame();
        if (!payload) return;
        ++replies_;
        const String reply = DecodePayload(payload->Bytes());
        if (onReply) onReply(reply);
        if (plan_.waitFor == WaitFor::FirstReply ||
            (plan_.waitFor == WaitFor::LastReply && plan_.isLast(reply))) {
            Finish(Outcome::Done);
        }
    }
}

void Session::WaitOver() {
    if (result_) return;
    // A lost connection reads as not connected here even before its Error
    // event has been delivered.
    const bool connected = socket_.IsConnected();
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
    result_ = outcome;
    deadline_.Reset();
    socket_.Close();
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
