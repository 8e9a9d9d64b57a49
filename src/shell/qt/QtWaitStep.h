#pragma once

#include "foundation/RunLoop.h"

namespace qv {

// The run loop's wait inside Qt's event dispatcher: the loop's descriptors are
// watched by Qt alongside the window system's own, with the loop's deadline,
// so that one thread serves both and sleeps when there is nothing to do.
class QtWaitStep final : public WaitStep {
public:
    void Wait(std::span<pollfd> fds, int timeoutMs) override;
};

}  // namespace qv
