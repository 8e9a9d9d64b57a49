#pragma once

#include <deque>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/RunLoop.h"
#include "qvctl/Command.h"
#include "qvctl/CopyProgress.h"
#include "qvctl/ExitStatus.h"
#include "qvctl/Link.h"
#include "qvctl/Options.h"
#include "qvctl/Screen.h"

namespace qv::ctl {

// A line cut into words as a shell would: blanks between words, '...' taken
// as it stands, "..." with \" and \\, and a backslash before any other
// character; none when a quote is left open.
std::optional<std::vector<std::string>> SplitWords(std::string_view line);

// qvctl's one engine: one connection for the commands of a session, given
// line by line, or for the one command of the command line, which is a
// session of one line. Each reply is printed as it arrives. The assistant runs
// its commands in the order they came, so what qvctl waits for is a queue in
// the same order: the head's wait starts when the one before it is done, and
// any reply shows that every command before its own has run (which ends a
// show or hide ahead of it). The end of input waits until the queue is empty,
// then closes the connection.
class Console {
public:
    // `options`: the session's own, whose output mode and verbosity are those
    // of every line that gives none.
    Console(RunLoop& loop, const Options& options, std::string socketPath, Screen& screen);

    // Connects; the first command does it when nothing else has.
    void Start();
    // One line: a command with its arguments and options, as on qvctl's command
    // line; "help [COMMAND]"; "quit" or "exit"; blank or a "#" comment: nothing.
    void TakeLine(std::string_view line);
    // One parsed command, through its entry in the command table.
    void Run(const Options& options);
    void EndOfInput();
    bool InputEnded() const { return inputEnded_; }
    // Ctrl-C or SIGTERM: true when it asks a copy to abort. A second one, or
    // one with no copy to abort, is for the caller: LeaveNow tells what it left.
    bool Interrupt();
    // Says what is left unfinished when qvctl leaves before the end.
    void LeaveNow();
    // qvctl's exit status once the console has ended: the first failure's.
    std::optional<ExitStatus> Result() const { return result_; }

    // For the commands' run functions.
    void Send(const Options& options, Request request);
    void Abort(const Options& options);
    // Records a failure, the first for the exit status, and says it.
    void Fail(ExitStatus status, std::string_view message);
    const Clock& GetClock() const { return loop_.GetClock(); }

private:
    struct Expected {
        Options options;
        WaitFor waitFor;
        std::optional<Duration> wait;
        // --output and --dump-header, opened before the command goes.
        std::unique_ptr<std::ofstream> bodyFile, headerFile;
        std::unique_ptr<CopyDisplay> copy;
        bool copyRunning = false;     // a progress report has come
        bool abortRequested = false;  // sent once the copy runs
        int replies = 0;
    };

    Options WithSessionDefaults(Options options) const;
    bool OpenFiles(Expected& expected);
    void SendFields(const std::vector<Field>& fields, const Options& options);
    void Expect(Expected expected);
    void RequestAbort(Expected& copy);
    void TakeReply(const String& reply);
    void TakeCopyReport(Expected& head, const String& reply);
    void Print(Expected* expected, const String& reply);
    void PrintFetch(Expected& expected, const String& reply);
    void Write(std::ofstream* file, const std::optional<std::string>& path, std::string_view text,
               bool error);
    void StartHeadWait();
    void HeadWaitOver();
    void Done();
    void Lost(Loss loss);
    void Finish();

    RunLoop& loop_;
    Options options_;
    std::string socketPath_;
    Screen& screen_;
    Link link_;
    bool started_ = false;
    std::deque<Expected> queue_;
    RunLoop::Pending headWait_;
    bool inputEnded_ = false;
    std::optional<ExitStatus> status_;
    std::optional<ExitStatus> result_;
};

// The whole of qvctl but for --help and --version: the command of `options`,
// or with `session` the commands of standard input, with Ctrl-C and SIGTERM
// as told for Interrupt. Gives the exit status.
ExitStatus RunConsole(const Options& options, bool session);

}  // namespace qv::ctl
