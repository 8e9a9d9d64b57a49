#include "qvctl/CopyProgress.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "protocol/Report.h"
#include "qvctl/ReplyFormat.h"

namespace qv::ctl {

namespace {

constexpr std::int64_t kFullBar = 400;
constexpr std::int64_t kCells = 20;
// Back to the line's start; the erase behind the text removes what a longer
// line before left there.
constexpr std::string_view kLineStart = "\r";
constexpr std::string_view kEraseRest = "\x1b[K";

std::int64_t Position(std::string_view barPos) {
    std::int64_t position = 0;
    std::from_chars(barPos.data(), barPos.data() + barPos.size(), position);
    return std::clamp<std::int64_t>(position, 0, kFullBar);
}

std::string_view FieldValue(const std::vector<std::pair<std::string_view, std::string_view>>& fields,
                            std::string_view name) {
    const auto field = std::ranges::find(fields, name, [](const auto& f) { return f.first; });
    return field == fields.end() ? std::string_view() : field->second;
}

}  // namespace

std::string ProgressLine(std::string_view barPos, std::string_view message, std::size_t columns) {
    const std::int64_t position = Position(barPos);
    const auto filled = static_cast<std::size_t>(position * kCells / kFullBar);
    std::string percent = std::to_string(position * 100 / kFullBar);
    percent.insert(0, 3 - percent.size(), ' ');
    std::string line = "[" + std::string(filled, '#') +
                       std::string(static_cast<std::size_t>(kCells) - filled, ' ') + "] " + percent + "% " +
                       std::string(message);
    if (columns > 0 && line.size() > columns - 1) line.resize(columns - 1);
    return line;
}

CopyDisplay::CopyDisplay(std::ostream& out, OutputMode mode, std::optional<std::size_t> terminalColumns)
    : out_(out), mode_(mode), columns_(mode == OutputMode::Text ? terminalColumns : std::nullopt) {}

void CopyDisplay::Show(const String& reply) {
    const auto fields = ReportFields(SplitReport(reply.Bytes()).lines);
    if (columns_ && FieldValue(fields, "Status") == "InProgress") {
        out_ << kLineStart
             << ProgressLine(FieldValue(fields, "BarPos"), FieldValue(fields, "MsgStr"), *columns_)
             << kEraseRest << std::flush;
        lineOpen_ = true;
        return;
    }
    EndLine();
    out_ << RenderReply(reply, mode_) << std::flush;
}

void CopyDisplay::EndLine() {
    if (!lineOpen_) return;
    out_ << '\n' << std::flush;
    lineOpen_ = false;
}

}  // namespace qv::ctl
