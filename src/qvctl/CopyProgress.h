#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "foundation/Clock.h"
#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// A running copy as qvctl sees it on its own side.
struct CopyFigures {
    std::int64_t done = 0;  // bytes at the destination
    std::int64_t size = 0;  // SOURCE's size
    // Since the first progress report; none before a second one.
    std::optional<double> bytesPerSecond;
};

// "1.50 GB", in the binary units the assistant's own reports use.
std::string SizeText(std::int64_t bytes);
// "00:07", "1:02:05".
std::string DurationText(Duration duration);

// The progress as one line for a terminal:
//   "[##########          ]  50% 512.0 MB of 1.00 GB 85.3 MB/s 00:06 left"
// Where `columns` - 1 characters (a line that wraps cannot be redrawn in
// place) do not hold it all, the sizes go first, then the rate, then the bar.
std::string ProgressLine(const CopyFigures& figures, std::size_t columns);

// Shows a copy's reports as they come. On a terminal, in the Text mode, the
// progress redraws one line in place, measured on the destination file, and
// the end report becomes a summary line; otherwise every report is printed as
// a reply.
class CopyDisplay {
public:
    // `terminalColumns`: the width of the terminal that `out` writes to, or
    // none when it writes elsewhere. The copy counts as begun now.
    CopyDisplay(std::ostream& out, OutputMode mode, std::optional<std::size_t> terminalColumns,
                const Clock& clock, std::string destination, std::int64_t size);

    void Show(const String& reply);
    // Ends a progress line that is being redrawn, so that what comes next
    // (here or on another stream to the same terminal) starts a line. True
    // when there was one.
    bool EndLine();

private:
    void Redraw(const CopyFigures& figures);
    std::int64_t Done(std::string_view barPos) const;

    std::ostream& out_;
    OutputMode mode_;
    std::optional<std::size_t> columns_;
    const Clock& clock_;
    std::string destination_;
    std::int64_t size_;
    TimePoint begun_;
    std::optional<std::pair<TimePoint, std::int64_t>> firstReport_;
    std::int64_t lastDone_ = 0;
    bool lineOpen_ = false;
};

}  // namespace qv::ctl
