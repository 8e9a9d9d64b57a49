#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace qv::ctl {

// A line being typed at a prompt, which output must not garble.
class Prompt {
public:
    virtual ~Prompt() = default;
    // Clears the prompt's line, so that other text can take it.
    virtual void Clear() = 0;
    // Draws the prompt and the line typed so far again.
    virtual void Redraw() = 0;
};

// Where qvctl writes: standard output and standard error, on a terminal with
// one status line that is redrawn in place (a copy's bar), above the prompt
// where there is one. Text printed meanwhile goes below the status line and
// ends it; the next status starts a new one. A terminal whose TERM is "dumb"
// gets no escape codes.
class Screen {
public:
    // Standard output and error, and the terminal behind standard output.
    Screen();
    // `columns` gives what StatusColumns does; `escapes`: whether the terminal
    // takes escape codes.
    Screen(std::ostream& out, std::ostream& error, std::function<std::optional<std::size_t>()> columns,
           bool escapes);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // Standard output, or standard error when `error`; false when it could not
    // be written.
    bool Print(std::string_view text, bool error);
    // The width of standard output when it is a terminal: COLUMNS where it is
    // a number, else the terminal's own; none elsewhere.
    std::optional<std::size_t> StatusColumns() const { return columns_(); }
    // Draws the status line that `line` makes for a width, in place of the one
    // before. Nothing where StatusColumns is none.
    void ShowStatus(std::function<std::string(std::size_t columns)> line);
    // Leaves the status line as it stands; what comes next starts below it.
    // True when there was one.
    bool EndStatus();
    // The terminal changed its size: the status line is drawn again.
    void Resize();
    // The prompt that output goes around; null for none.
    void SetPrompt(Prompt* prompt) { prompt_ = prompt; }
    bool Escapes() const { return escapes_; }

private:
    void Draw();
    bool Write(std::string_view text, bool error);

    std::ostream& out_;
    std::ostream& error_;
    std::function<std::optional<std::size_t>()> columns_;
    bool escapes_;
    Prompt* prompt_ = nullptr;
    std::function<std::string(std::size_t)> status_;
    std::size_t statusWidth_ = 0;  // what the line drawn last took, for blanks on a dumb terminal
};

}  // namespace qv::ctl
