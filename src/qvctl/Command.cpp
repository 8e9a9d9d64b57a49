#include "qvctl/Command.h"

#include <chrono>
#include <string>

namespace qv::ctl {

namespace {

using std::chrono::seconds;

// The assistant's dispatcher runs every 2 s, so each wait leaves room for a tick.
constexpr Duration kReplyWait = seconds(5);
constexpr Duration kLinger = seconds(3);

Command Word(const char* word, WaitFor waitFor, Duration wait) {
    return {{{"Command", word}}, waitFor, wait};
}

}  // namespace

Command CommandFor(const Options& options) {
    switch (options.action) {
        case Action::Status:
            return Word("Status", WaitFor::FirstReply, kReplyWait);
        case Action::Show:
            return Word("Show", WaitFor::NoReply, kLinger);
        case Action::Hide:
            return Word("Hide", WaitFor::NoReply, kLinger);
        case Action::Abort:
            return Word("CopyFileAbort", WaitFor::FirstReply, kReplyWait);
        case Action::Send:
            break;
    }
    return {options.fields, WaitFor::EveryReply, kReplyWait};
}

String CommandText(const std::vector<Field>& fields) {
    std::string text;
    for (const Field& field : fields) {
        text += field.name;
        text += ':';
        text += field.value;
        text += '\r';
    }
    return String(std::move(text));
}

}  // namespace qv::ctl
