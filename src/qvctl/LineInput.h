#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/RunLoop.h"

namespace qv::ctl {

// Lines from standard input, read as the loop finds them ready: edited with
// history where a terminal is attached, plain from a file or a pipe.
class LineInput {
public:
    static std::unique_ptr<LineInput> ForStandardInput(RunLoop& loop, std::string_view prompt);
    virtual ~LineInput() = default;

    // Each line, without its line end.
    std::function<void(const std::string& line)> onLine;
    // No more lines will come.
    std::function<void()> onEnd;

    // Output that must not garble the line being typed: standard error when
    // `error`, else standard output.
    virtual void Print(std::string_view text, bool error) = 0;
};

}  // namespace qv::ctl
