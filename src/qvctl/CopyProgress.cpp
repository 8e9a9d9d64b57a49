#include "qvctl/CopyProgress.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/ReplyFormat.h"

namespace qv::ctl {

namespace {

constexpr std::int64_t kFullBar = 400;
constexpr std::size_t kCells = 20;

double Seconds(Duration duration) {
    return std::chrono::duration<double>(duration).count();
}

}  // namespace

std::string SizeText(std::int64_t bytes) {
    static constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024) return std::to_string(bytes) + " bytes";
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; value >= 1024 && unit + 1 < std::size(kUnits); ++unit) value /= 1024;
    char text[32];
    std::snprintf(text, sizeof text, unit >= 2 ? "%.2f %s" : "%.1f %s", value, kUnits[unit]);
    return text;
}

std::string DurationText(Duration duration) {
    const auto seconds =
        std::max<std::int64_t>(0, std::chrono::duration_cast<std::chrono::seconds>(duration).count());
    char text[32];
    if (seconds < 3600) {
        std::snprintf(text, sizeof text, "%02lld:%02lld", static_cast<long long>(seconds / 60),
                      static_cast<long long>(seconds % 60));
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                      static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
    }
    return text;
}

std::string ProgressLine(const CopyFigures& figures, std::size_t columns) {
    const std::int64_t done = std::clamp<std::int64_t>(figures.done, 0, figures.size);
    const double fraction =
        figures.size > 0 ? static_cast<double>(done) / static_cast<double>(figures.size) : 1.0;
    const auto filled = static_cast<std::size_t>(fraction * kCells);
    const std::string bar = "[" + std::string(filled, '#') + std::string(kCells - filled, ' ') + "]";
    std::string percent = std::to_string(static_cast<int>(fraction * 100)) + "%";
    percent.insert(0, 4 - percent.size(), ' ');
    const std::string amount = SizeText(done) + " of " + SizeText(figures.size);
    std::string rate, left;
    if (figures.bytesPerSecond && *figures.bytesPerSecond > 0) {
        rate = SizeText(static_cast<std::int64_t>(*figures.bytesPerSecond)) + "/s";
        const auto secondsLeft = static_cast<double>(figures.size - done) / *figures.bytesPerSecond;
        left =
            DurationText(std::chrono::duration_cast<Duration>(std::chrono::duration<double>(secondsLeft))) +
            " left";
    }
    const std::vector<std::vector<std::string_view>> layouts = {{bar, percent, amount, rate, left},
                                                                {bar, percent, rate, left},
                                                                {bar, percent, left},
                                                                {percent, left},
                                                                {percent}};
    for (const auto& layout : layouts) {
        std::string line;
        for (const std::string_view piece : layout) {
            if (piece.empty()) continue;
            if (!line.empty()) line += ' ';
            line += piece;
        }
        if (line.size() < columns) return line;
    }
    return "";
}

CopyDisplay::CopyDisplay(Screen& screen, OutputMode mode, Verbosity verbosity, const Clock& clock,
                         const LocalCopy& copy)
    : screen_(screen),
      mode_(mode),
      quiet_(verbosity == Verbosity::Quiet),
      clock_(clock),
      destination_(DestinationOf(copy)),
      size_(copy.sourceSize),
      begun_(clock.Now()) {}

std::int64_t CopyDisplay::Done(std::string_view barPos) const {
    std::error_code error;
    const auto written = std::filesystem::file_size(destination_, error);
    if (!error) return static_cast<std::int64_t>(written);
    // The destination out of sight (another file system view): the
    // assistant's own bar position, 0 to 400 of the total.
    std::int64_t position = 0;
    std::from_chars(barPos.data(), barPos.data() + barPos.size(), position);
    return static_cast<std::int64_t>(static_cast<double>(size_) *
                                     static_cast<double>(std::clamp<std::int64_t>(position, 0, kFullBar)) /
                                     kFullBar);
}

void CopyDisplay::Show(const String& reply) {
    const auto end = CopyEndOf(reply);
    if (quiet_ && !end) return;
    if (mode_ != OutputMode::Text || !screen_.StatusColumns()) {
        screen_.Print(RenderReply(reply, mode_), false);
        return;
    }
    const auto fields = ReportFields(SplitReport(reply.Bytes()).lines);
    const TimePoint now = clock_.Now();
    if (FieldValue(fields, FieldName::Status) == CopyStatus::InProgress) {
        CopyFigures figures{Done(FieldValue(fields, FieldName::BarPos).value_or("")), size_, std::nullopt};
        if (!firstReport_) firstReport_ = {now, figures.done};
        const double seconds = Seconds(now - firstReport_->first);
        if (seconds > 0)
            figures.bytesPerSecond = static_cast<double>(figures.done - firstReport_->second) / seconds;
        lastDone_ = figures.done;
        screen_.ShowStatus([figures](std::size_t columns) { return ProgressLine(figures, columns); });
        return;
    }
    if (end == CopyEnd::Complete) {
        const Duration took = now - begun_;
        if (!quiet_) {
            const CopyFigures full{size_, size_, std::nullopt};
            screen_.ShowStatus([full](std::size_t columns) { return ProgressLine(full, columns); });
        }
        std::string summary = "Copied " + SizeText(size_) + " in " + DurationText(took);
        if (Seconds(took) > 0)
            summary += ", " + SizeText(static_cast<std::int64_t>(size_ / Seconds(took))) + "/s";
        screen_.Print(summary + "\n", false);
        return;
    }
    if (end == CopyEnd::Abort) {
        screen_.Print("Aborted after " + SizeText(lastDone_) + " of " + SizeText(size_) +
                          "; the assistant removed the partial copy\n",
                      false);
        return;
    }
    screen_.Print(RenderReply(reply, mode_), false);
}

std::string CopyDisplay::Unfinished() const {
    std::error_code error;
    const auto written = std::filesystem::file_size(destination_, error);
    if (error) return "qvctl: left the copy unfinished\n";
    return "qvctl: left the copy unfinished; the partial file " + destination_ + " stays, " +
           SizeText(static_cast<std::int64_t>(written)) + " of " + SizeText(size_) + "\n";
}

}  // namespace qv::ctl
