#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Clock.h"
#include "protocol/CommandText.h"
#include "protocol/Vocabulary.h"
#include "qvctl/CopyCommand.h"

namespace qv::ctl {

using std::chrono::seconds;

// The assistant's dispatcher starts a command every 2 s, so each wait leaves
// room for a tick.
inline constexpr Duration kReplyWait = seconds(5);
inline constexpr Duration kLinger = seconds(3);
// The assistant answers every fetch within its own 60-second limit.
inline constexpr Duration kAssistantFetchLimit = seconds(60);
inline constexpr Duration kFetchWait = kAssistantFetchLimit + seconds(10);
// The assistant reports a copy after its first 2 MiB; a copy it drops says
// nothing at all.
inline constexpr Duration kFirstReportWait = seconds(10);
// --wait: a day is long enough for any use, and far from overflowing the clock.
inline constexpr Duration kMaxWait = std::chrono::hours(24);

// Whole seconds, as help texts show them.
std::string SecondsText(Duration duration);

// What qvctl waits for once a command is sent.
enum class WaitFor {
    // The one reply the command is known to bring; done as soon as it is in.
    FirstReply,
    // Nothing comes back: stay connected for the whole wait, because the
    // assistant ends when its peer leaves and runs a command only at the next
    // tick of its dispatcher.
    NoReply,
    // Unknown: every reply that comes within the wait.
    EveryReply,
    // A copy: its progress reports, then the end report that is waited for.
    LastReply,
};

// One command as it goes out.
struct Request {
    std::vector<Field> fields;
    WaitFor waitFor;
    // None: no limit.
    std::optional<Duration> wait;
    // A copy's files, for its progress.
    std::optional<LocalCopy> copy = std::nullopt;
};

// A command with no field but its word.
inline std::vector<Field> WordOnly(std::string_view word) {
    return {{FieldName::Command, word}};
}

}  // namespace qv::ctl
