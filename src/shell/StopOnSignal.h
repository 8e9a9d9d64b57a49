#pragma once

#include "foundation/RunLoop.h"
#include "foundation/SignalWatch.h"

namespace qv {

// Turns SIGINT and SIGTERM into a clean Stop(0) of the loop, so that a person
// who stops the assistant by hand leaves no socket file behind.
class StopOnSignal {
public:
    explicit StopOnSignal(RunLoop& loop);

private:
    SignalWatch watch_;
};

}  // namespace qv
