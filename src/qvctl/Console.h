#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/RunLoop.h"
#include "qvctl/Command.h"
#include "qvctl/Link.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// A line cut into words as a shell would: blanks between words, '...' taken
// as it stands, "..." with \" and \\, and a backslash before any other
// character; none when a quote is left open.
std::optional<std::vector<std::string>> SplitWords(std::string_view line);

// qvctl's session mode: one connection for many commands, given line by line.
// Each reply is printed as it arrives. The assistant runs its commands in the
// order they came, so what qvctl waits for is a queue in the same order: the
// head's wait starts when the one before it is done. The end of input waits
// until the queue is empty, then closes the connection.
class Console {
public:
    // `print(text, error)`: output, for standard error when `error`.
    Console(RunLoop& loop, const Options& options, std::function<void(std::string_view, bool)> print);

    void Start() { link_.Connect(); }
    // One line: a command with its arguments and options, as on qvctl's command
    // line; "help [COMMAND]"; "quit"; blank or a "#" comment: nothing.
    void TakeLine(std::string_view line);
    void EndOfInput();
    // Ctrl-C: true when it aborts a copy; otherwise the caller leaves.
    bool Interrupt();
    // qvctl's exit status once the session has ended: 0, or the first failure's.
    std::optional<int> Result() const { return result_; }

private:
    struct Expected {
        Action action;
        WaitFor waitFor;
        std::optional<Duration> wait;
        OutputMode output;
        std::optional<std::string> outputPath;
        bool copyRunning = false;  // a progress report has come
        bool abortHeld = false;    // an abort waits for the copy to run
    };

    void Send(const std::vector<Field>& fields);
    void Expect(Expected expected);
    void Abort();
    void TakeReply(const String& reply);
    void Print(const Expected* expected, const String& reply);
    void StartHeadWait();
    void HeadWaitOver();
    void Done();
    void Fail(int status, std::string_view message);
    void Finish();

    RunLoop& loop_;
    Options options_;
    std::function<void(std::string_view, bool)> print_;
    Link link_;
    std::deque<Expected> queue_;
    RunLoop::Pending headWait_;
    bool inputEnded_ = false;
    int status_ = 0;
    std::optional<int> result_;
};

// `qvctl session`: the console on standard input and output.
int RunConsole(const Options& options);

}  // namespace qv::ctl
