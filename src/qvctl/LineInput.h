#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/RunLoop.h"
#include "qvctl/Screen.h"

namespace qv::ctl {

// Lines from standard input, read as the loop finds them ready. On a terminal
// (but a dumb one) they are edited at a prompt that the screen's output goes
// around, with the history of earlier sessions; from a file or a pipe they
// are read plainly.
class LineInput {
public:
    static std::unique_ptr<LineInput> ForStandardInput(RunLoop& loop, std::string_view prompt,
                                                       Screen& screen);
    virtual ~LineInput() = default;

    // Each line, without its line end.
    std::function<void(const std::string& line)> onLine;
    // No more lines will come.
    std::function<void()> onEnd;

    // Reads no more, and draws no prompt again.
    virtual void Stop() = 0;
    // Ctrl-C: drops the line being typed for a fresh one, as shells do; false
    // where nothing is typed.
    virtual bool ClearLine() { return false; }
    // The terminal changed its size.
    virtual void Resize() {}
};

}  // namespace qv::ctl
