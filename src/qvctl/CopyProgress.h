#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// A progress report as one line for a terminal, from its BarPos (0 to about
// 400; it can overshoot, and 0 comes as an empty value) and its MsgStr:
//   "[##########          ]  50% 12.0 MB of 24.0 MB, 00:07 elapsed"
// cut to `columns` - 1 characters, since a line that wraps cannot be redrawn
// in place.
std::string ProgressLine(std::string_view barPos, std::string_view message, std::size_t columns);

// Shows a copy's reports as they come. On a terminal, in the Text mode, the
// progress reports redraw one line in place and the end report follows on a
// line of its own; otherwise every report is printed as a reply.
class CopyDisplay {
public:
    // `terminalColumns`: the width of the terminal that `out` writes to, or
    // none when it writes elsewhere.
    CopyDisplay(std::ostream& out, OutputMode mode, std::optional<std::size_t> terminalColumns);

    void Show(const String& reply);
    // Ends a progress line that is being redrawn, so that what comes next
    // (here or on another stream to the same terminal) starts a line.
    void EndLine();

private:
    std::ostream& out_;
    OutputMode mode_;
    std::optional<std::size_t> columns_;
    bool lineOpen_ = false;
};

}  // namespace qv::ctl
