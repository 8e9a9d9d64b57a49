#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Clock.h"
#include "foundation/String.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Options.h"
#include "qvctl/Screen.h"

namespace qv::ctl {

// A running copy as qvctl sees it on its own side.
struct CopyFigures {
    std::int64_t done = 0;  // bytes at the destination
    std::int64_t size = 0;  // SOURCE's size
    // Since the first progress report; none before a second one.
    std::optional<double> bytesPerSecond;
};

// "1.50 GiB": units of 1024, as the assistant's own reports count them.
std::string SizeText(std::int64_t bytes);
// "00:07", "1:02:05".
std::string DurationText(Duration duration);

// The progress as one line for a terminal:
//   "[##########          ]  50% 512.0 MiB of 1.00 GiB 85.3 MiB/s 00:06 left"
// Where `columns` - 1 characters (a line that wraps cannot be redrawn in
// place) do not hold it all, the sizes go first, then the rate, then the bar.
std::string ProgressLine(const CopyFigures& figures, std::size_t columns);

// Shows a copy's reports as they come. On a terminal, in the Text mode, the
// progress is the screen's status line, measured on the destination file, and
// the end report becomes a summary line; otherwise every report is printed as
// a reply. Quiet, it shows no progress.
class CopyDisplay {
public:
    // The copy counts as begun now.
    CopyDisplay(Screen& screen, OutputMode mode, Verbosity verbosity, const Clock& clock,
                const LocalCopy& copy);

    void Show(const String& reply);
    // What qvctl says when it leaves the copy unfinished: where the partial
    // file is, if it is there.
    std::string Unfinished() const;

private:
    std::int64_t Done(std::string_view barPos) const;

    Screen& screen_;
    OutputMode mode_;
    bool quiet_;
    const Clock& clock_;
    std::string destination_;
    std::int64_t size_;
    TimePoint begun_;
    std::optional<std::pair<TimePoint, std::int64_t>> firstReport_;
    std::int64_t lastDone_ = 0;
};

}  // namespace qv::ctl
