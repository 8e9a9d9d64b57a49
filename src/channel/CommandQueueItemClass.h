#pragma once

#include "foundation/String.h"

namespace qv {

// One queued command: its word and the whole decoded text of its frame.
struct CommandQueueItemClass {
    String CommandType;
    String CommandFull;
};

}  // namespace qv
