#pragma once

#include <optional>

#include "foundation/RunLoop.h"

namespace qv {

// Turns SIGINT and SIGTERM into a clean Quit(0) of the loop, so that a person
// who stops the assistant by hand leaves no socket file behind. A handler only
// writes a byte to a pipe; the loop reads it like any other event.
class QuitOnSignal {
public:
    explicit QuitOnSignal(RunLoop& loop);
    QuitOnSignal(const QuitOnSignal&) = delete;
    QuitOnSignal& operator=(const QuitOnSignal&) = delete;
    ~QuitOnSignal();

private:
    RunLoop& loop_;
    int pipe_[2] = {-1, -1};
    std::optional<RunLoop::WatchId> watch_;
};

}  // namespace qv
