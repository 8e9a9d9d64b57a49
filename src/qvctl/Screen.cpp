#include "qvctl/Screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <string>

namespace qv::ctl {

namespace {

constexpr std::size_t kDefaultColumns = 80;
constexpr std::string_view kEraseRest = "\x1b[K";
constexpr std::string_view kLineUp = "\x1b[A";

std::optional<std::size_t> TerminalColumns() {
    if (!isatty(STDOUT_FILENO)) return std::nullopt;
    if (const char* columns = std::getenv("COLUMNS")) {
        std::size_t value = 0;
        const std::string_view text(columns);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error == std::errc() && end == text.data() + text.size() && value > 0) return value;
    }
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kDefaultColumns;
    return size.ws_col;
}

bool DumbTerminal() {
    const char* term = std::getenv("TERM");
    return term && std::string_view(term) == "dumb";
}

}  // namespace

Screen::Screen() : Screen(std::cout, std::cerr, TerminalColumns, !DumbTerminal()) {}

Screen::Screen(std::ostream& out, std::ostream& error, std::function<std::optional<std::size_t>()> columns,
               bool escapes)
    : out_(out), error_(error), columns_(std::move(columns)), escapes_(escapes) {}

bool Screen::Write(std::string_view text, bool error) {
    std::ostream& out = error ? error_ : out_;
    out.clear();
    out << text << std::flush;
    return static_cast<bool>(out);
}

bool Screen::Print(std::string_view text, bool error) {
    EndStatus();
    if (prompt_) prompt_->Clear();
    const bool written = Write(text, error);
    if (prompt_) prompt_->Redraw();
    return written;
}

void Screen::ShowStatus(std::function<std::string(std::size_t columns)> line) {
    // Above a prompt the line cannot be reached again without moving up.
    if (!StatusColumns() || (prompt_ && !escapes_)) return;
    const bool redraw = static_cast<bool>(status_);
    status_ = std::move(line);
    if (prompt_) {
        prompt_->Clear();
        if (redraw) Write(kLineUp, false);
    }
    Draw();
    if (prompt_) {
        Write("\n", false);
        prompt_->Redraw();
    }
}

void Screen::Draw() {
    // A line that wraps cannot be redrawn in place, so it keeps off the last column.
    const std::string line = status_(*StatusColumns());
    std::string text = "\r" + line;
    if (escapes_) {
        text += kEraseRest;
    } else if (line.size() < statusWidth_) {
        text.append(statusWidth_ - line.size(), ' ');
    }
    statusWidth_ = line.size();
    Write(text, false);
}

bool Screen::EndStatus() {
    if (!status_) return false;
    status_ = nullptr;
    statusWidth_ = 0;
    if (!prompt_) Write("\n", false);
    return true;
}

void Screen::Resize() {
    if (status_) ShowStatus(status_);
}

}  // namespace qv::ctl
