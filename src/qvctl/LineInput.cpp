#include "qvctl/LineInput.h"

// clang-format off
#include <cstdio>
#include <editline/readline.h>
// clang-format on
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace qv::ctl {

namespace {

void Write(std::string_view text, bool error) {
    std::ostream& out = error ? std::cerr : std::cout;
    out << text << std::flush;
}

// A file or a pipe: lines as they come, the last one also without its LF.
class PlainInput final : public LineInput {
public:
    explicit PlainInput(RunLoop& loop)
        : watch_(loop.AddWatch(STDIN_FILENO, POLLIN, [this](short) { Read(); })) {}

    void Print(std::string_view text, bool error) override { Write(text, error); }

private:
    void Read() {
        char buffer[65536];
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        if (n < 0) return;  // EINTR, EAGAIN: the next pass tries again
        pending_.append(buffer, static_cast<std::size_t>(n));
        for (std::size_t end; (end = pending_.find('\n')) != std::string::npos;) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            if (line.ends_with('\r')) line.pop_back();
            if (onLine) onLine(line);
        }
        if (n > 0) return;
        watch_.Reset();
        if (!pending_.empty() && onLine) onLine(std::exchange(pending_, {}));
        if (onEnd) onEnd();
    }

    std::string pending_;
    RunLoop::Watch watch_;
};

// A terminal: libedit's line editing and history, fed a character at a time
// as the loop finds standard input ready, so replies keep printing meanwhile.
class EditedInput final : public LineInput {
public:
    EditedInput(RunLoop& loop, std::string_view prompt) : prompt_(prompt) {
        current_ = this;
        rl_catch_signals = 0;  // Ctrl-C is the loop's, as a signal event
        using_history();
        rl_callback_handler_install(prompt_.c_str(), &EditedInput::TakeLine);
        watch_ = loop.AddWatch(STDIN_FILENO, POLLIN, [](short) { rl_callback_read_char(); });
    }
    ~EditedInput() override {
        Stop();
        current_ = nullptr;
    }

    // The typed line goes, the text comes, and the prompt with the line is drawn again below it.
    void Print(std::string_view text, bool error) override {
        // While a line is handled the cursor stands on a fresh line, and the
        // prompt comes once the handler returns.
        if (!watch_ || handlingLine_) return Write(text, error);
        Write("\r\x1b[K", false);
        Write(text, error);
        rl_forced_update_display();
    }

private:
    static void TakeLine(char* line) {
        EditedInput* self = current_;
        if (!line) {
            self->Write("\n", false);
            self->Stop();
            if (self->onEnd) self->onEnd();
            return;
        }
        const std::string text(line);
        std::free(line);
        if (!text.empty()) add_history(text.c_str());
        self->handlingLine_ = true;
        if (self->onLine) self->onLine(text);
        self->handlingLine_ = false;
        // libedit leaves the terminal as it found it after a line; installing
        // again takes it back at once, so that typing ahead is not echoed twice.
        if (self->watch_) rl_callback_handler_install(self->prompt_.c_str(), &EditedInput::TakeLine);
    }
    static void Write(std::string_view text, bool error) { ctl::Write(text, error); }

    void Stop() {
        if (!watch_) return;
        watch_.Reset();
        rl_callback_handler_remove();
    }

    static inline EditedInput* current_ = nullptr;
    std::string prompt_;
    RunLoop::Watch watch_;
    bool handlingLine_ = false;
};

}  // namespace

std::unique_ptr<LineInput> LineInput::ForStandardInput(RunLoop& loop, std::string_view prompt) {
    if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) return std::make_unique<EditedInput>(loop, prompt);
    return std::make_unique<PlainInput>(loop);
}

}  // namespace qv::ctl
