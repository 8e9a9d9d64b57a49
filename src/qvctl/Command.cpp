#include "qvctl/Command.h"

#include <chrono>
#include <string>

namespace qv::ctl {

namespace {

using std::chrono::seconds;

// The assistant's dispatcher runs every 2 s, so each wait leaves room for a tick.
constexpr Duration kReplyWait = seconds(5);
constexpr Duration kLinger = seconds(3);
// The assistant's own watchdog answers every fetch within 60 s.
constexpr Duration kFetchWait = seconds(70);

Command Word(const char* word, WaitFor waitFor, Duration wait) {
    return {{{"Command", word}}, waitFor, wait};
}

}  // namespace

Command AbortCommand() {
    return Word("CopyFileAbort", WaitFor::FirstReply, kReplyWait);
}

Command CommandFor(const Options& options) {
    switch (options.action) {
        case Action::Status:
            return Word("Status", WaitFor::FirstReply, kReplyWait);
        case Action::Show:
            return Word("Show", WaitFor::NoReply, kLinger);
        case Action::Hide:
            return Word("Hide", WaitFor::NoReply, kLinger);
        case Action::Abort:
            return AbortCommand();
        case Action::Get:
            return {
                {{"Command", "GetPageURL"}, {"GetPageURL", options.url}}, WaitFor::FirstReply, kFetchWait};
        case Action::Headers:
            return {{{"Command", "GetHeadersURL"}, {"GetHeadersURL", options.url}},
                    WaitFor::FirstReply,
                    kFetchWait};
        case Action::News:
            return {{{"Command", "GetNews"},
                     {"WebAddress", options.url},
                     {"DateStr", options.date.value_or("")},
                     {"GOIStr", options.goi.value_or("")}},
                    WaitFor::FirstReply,
                    kFetchWait};
        case Action::Send:
        case Action::Copy:     // built once qvctl has looked at the files
        case Action::Session:  // a command of its own on each line
            break;
    }
    return {options.fields, WaitFor::EveryReply, kReplyWait};
}

}  // namespace qv::ctl
