#pragma once

#include "foundation/String.h"

namespace qv {

// The command in hand, which every feature reads: the word of the command last
// taken from the queue (never cleared, so a late event is judged by it), and
// whether a command is under way (while it is, the dispatcher starts none).
struct CommandState {
    String CommandStr;
    bool isCommandInProgress = false;
};

}  // namespace qv
