#pragma once

#include <vector>

#include "foundation/Clock.h"
#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// What qvctl waits for once its command is sent.
enum class WaitFor {
    // The one reply the command is known to bring; done as soon as it is in.
    FirstReply,
    // Nothing comes back: stay connected for the whole wait, because the
    // assistant ends when its peer leaves and runs a command only at the next
    // tick of its dispatcher.
    NoReply,
    // Unknown: every reply that comes within the wait.
    EveryReply,
    // Replies until the one that the plan's isLast picks out: a copy reports
    // its progress before the end report that it is waited for.
    LastReply,
};

struct Command {
    std::vector<Field> fields;
    WaitFor waitFor;
    Duration defaultWait;
};

// The command that the parsed options ask for.
Command CommandFor(const Options& options);
// CopyFileAbort, alone or during a copy.
Command AbortCommand();

}  // namespace qv::ctl
