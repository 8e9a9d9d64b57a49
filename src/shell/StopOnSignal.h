#pragma once

#include "foundation/RunLoop.h"
#include "foundation/SignalWatch.h"

namespace qv {

// Turns SIGINT, SIGTERM and SIGHUP (a closed terminal) into a clean end with
// status 0, in any state, so that a person who stops the assistant by hand
// leaves no socket file behind.
class StopOnSignal {
public:
    explicit StopOnSignal(RunLoop& loop);

private:
    SignalWatch watch_;
};

}  // namespace qv
