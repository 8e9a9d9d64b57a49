#include "qvctl/LineInput.h"

// clang-format off
#include <cstdio>
#include <editline/readline.h>
// clang-format on
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace qv::ctl {

namespace {

constexpr int kHistoryLines = 1000;
constexpr int kKillLine = 0x15;  // Ctrl-U

// Where the session's history is kept: qvctl/history under XDG_STATE_HOME, or
// else under ~/.local/state; empty when neither is known.
std::string HistoryPath() {
    namespace fs = std::filesystem;
    fs::path state;
    // A relative XDG_STATE_HOME is to be ignored.
    if (const char* xdg = std::getenv("XDG_STATE_HOME"); xdg && *xdg == '/') {
        state = xdg;
    } else if (const char* home = std::getenv("HOME"); home && *home) {
        state = fs::path(home) / ".local" / "state";
    } else {
        return "";
    }
    return (state / "qvctl" / "history").string();
}

// A file or a pipe: lines as they come, the last one also without its LF.
class PlainInput final : public LineInput {
public:
    explicit PlainInput(RunLoop& loop)
        : watch_(loop.AddWatch(STDIN_FILENO, POLLIN, [this](short) { Read(); })) {}

    void Stop() override { watch_.Reset(); }

private:
    void Read() {
        char buffer[65536];
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        if (n < 0) return;  // EINTR, EAGAIN: the next pass tries again
        pending_.append(buffer, static_cast<std::size_t>(n));
        for (std::size_t end; watch_ && (end = pending_.find('\n')) != std::string::npos;) {
            std::string line = pending_.substr(0, end);
            pending_.erase(0, end + 1);
            if (line.ends_with('\r')) line.pop_back();
            if (onLine) onLine(line);
        }
        if (n > 0 || !watch_) return;
        watch_.Reset();
        if (!pending_.empty() && onLine) onLine(std::exchange(pending_, {}));
        if (onEnd) onEnd();
    }

    std::string pending_;
    RunLoop::Watch watch_;
};

// A terminal: libedit's line editing and history, fed a character at a time
// as the loop finds standard input ready, so replies keep printing meanwhile.
class EditedInput final : public LineInput, public Prompt {
public:
    EditedInput(RunLoop& loop, std::string_view prompt, Screen& screen)
        : prompt_(prompt), screen_(screen), history_(HistoryPath()) {
        current_ = this;
        if (!history_.empty()) {
            std::error_code error;
            std::filesystem::create_directories(std::filesystem::path(history_).parent_path(), error);
        }
        rl_catch_signals = 0;  // Ctrl-C is the loop's, as a signal event
        rl_getc_function = &EditedInput::ReadKey;
        rl_initialize();
        stifle_history(kHistoryLines);
        if (!history_.empty()) read_history(history_.c_str());
        rl_callback_handler_install(prompt_.c_str(), &EditedInput::TakeLine);
        screen_.SetPrompt(this);
        watch_ = loop.AddWatch(STDIN_FILENO, POLLIN, [](short) { rl_callback_read_char(); });
    }
    ~EditedInput() override {
        Stop();
        screen_.SetPrompt(nullptr);
        current_ = nullptr;
    }

    void Stop() override {
        if (!watch_) return;
        watch_.Reset();
        rl_callback_handler_remove();
        if (!handlingLine_) Clear();
    }

    // libedit's readline emulation cannot empty its line from outside, so it
    // is given the key that does: Ctrl-U, the whole line.
    bool ClearLine() override {
        if (!watch_) return false;
        Write("^C\n");
        pendingKey_ = kKillLine;
        rl_callback_read_char();
        rl_forced_update_display();
        return true;
    }

    void Resize() override { rl_resize_terminal(); }

    void Clear() override {
        if (watch_ && !handlingLine_) Write("\r\x1b[K");
    }
    void Redraw() override {
        if (watch_ && !handlingLine_) rl_forced_update_display();
    }

private:
    // A key given by ClearLine, else one from the terminal, read unbuffered:
    // what stdio kept back would not wake the loop.
    static int ReadKey(FILE* in) {
        unsigned char key = 0;
        if (pendingKey_ != EOF) return std::exchange(pendingKey_, EOF);
        return read(fileno(in), &key, 1) == 1 ? key : EOF;
    }

    static void TakeLine(char* line) {
        EditedInput* self = current_;
        if (!line) {
            Write("\n");
            self->Stop();
            if (self->onEnd) self->onEnd();
            return;
        }
        const std::string text(line);
        std::free(line);
        if (!text.empty()) {
            add_history(text.c_str());
            if (!self->history_.empty()) write_history(self->history_.c_str());
        }
        self->handlingLine_ = true;
        if (self->onLine) self->onLine(text);
        self->handlingLine_ = false;
        // libedit leaves the terminal as it found it after a line; installing
        // again takes it back at once, so that typing ahead is not echoed twice.
        if (self->watch_) rl_callback_handler_install(self->prompt_.c_str(), &EditedInput::TakeLine);
    }
    static void Write(std::string_view text) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        std::fflush(stdout);
    }

    static inline EditedInput* current_ = nullptr;
    static inline int pendingKey_ = EOF;
    std::string prompt_;
    Screen& screen_;
    std::string history_;
    RunLoop::Watch watch_;
    bool handlingLine_ = false;
};

}  // namespace

std::unique_ptr<LineInput> LineInput::ForStandardInput(RunLoop& loop, std::string_view prompt,
                                                       Screen& screen) {
    if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO) && screen.Escapes()) {
        return std::make_unique<EditedInput>(loop, prompt, screen);
    }
    return std::make_unique<PlainInput>(loop);
}

}  // namespace qv::ctl
