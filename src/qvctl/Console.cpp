#include "qvctl/Console.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <memory>

#include "Version.h"
#include "foundation/SignalWatch.h"
#include "protocol/CommandText.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/CopyRun.h"
#include "qvctl/ExitStatus.h"
#include "qvctl/FetchReply.h"
#include "qvctl/Help.h"
#include "qvctl/LineInput.h"
#include "qvctl/ReplyFormat.h"
#include "qvctl/Session.h"

namespace qv::ctl {

namespace {}  // namespace

std::optional<std::vector<std::string>> SplitWords(std::string_view line) {
    std::vector<std::string> words;
    std::optional<std::string> word;  // none between words
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == ' ' || c == '\t') {
            if (word) words.push_back(*std::exchange(word, std::nullopt));
            continue;
        }
        if (!word) word.emplace();
        if (c == '\'') {
            const std::size_t end = line.find('\'', i + 1);
            if (end == std::string_view::npos) return std::nullopt;
            word->append(line.substr(i + 1, end - i - 1));
            i = end;
        } else if (c == '"') {
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                if (line[i] == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\'))
                    ++i;
                word->push_back(line[i]);
            }
            if (i == line.size()) return std::nullopt;
        } else if (c == '\\' && i + 1 < line.size()) {
            word->push_back(line[++i]);
        } else {
            word->push_back(c);
        }
    }
    if (word) words.push_back(*word);
    return words;
}

Console::Console(RunLoop& loop, const Options& options, std::function<void(std::string_view, bool)> print)
    : loop_(loop), options_(options), print_(std::move(print)), link_(loop, options.socketPath) {
    link_.onReply = [this](const String& reply) { TakeReply(reply); };
    link_.onLost = [this] {
        if (result_) return;
        Fail(static_cast<int>(Outcome::Unreachable),
             OutcomeMessage(Outcome::Unreachable, options_.socketPath));
        Finish();
    };
}

void Console::TakeLine(std::string_view line) {
    if (result_ || inputEnded_) return;
    const auto words = SplitWords(line);
    if (!words) return Fail(kUsageStatus, "qvctl: a quote is left open\n");
    if (words->empty() || words->front().starts_with('#')) return;
    if (words->size() == 1 && (words->front() == "quit" || words->front() == "exit")) return EndOfInput();
    const std::vector<std::string_view> args(words->begin(), words->end());
    auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed))
        return Fail(kUsageStatus, "qvctl: " + error->message + "\n");
    Options& options = std::get<Options>(parsed);
    if (options.help) return print_(HelpText(options.helpTopic), false);
    if (options.version) return print_("qvctl " + std::string(kVersion) + "\n", false);
    if (options.action == Action::Session || options.socketPath != kDefaultSocketPath) {
        return Fail(kUsageStatus, "qvctl: a session has its one connection already\n");
    }
    const OutputMode output = options.output == OutputMode::Text ? options_.output : options.output;
    if (options.action == Action::Abort) return Abort();
    if (options.action == Action::Copy) {
        const auto local = Localize(options.copy);
        if (const auto* error = std::get_if<std::string>(&local))
            return Fail(kUsageStatus, "qvctl: " + *error + "\n");
        Send(CopyFileFields(std::get<LocalCopy>(local), Ticks(loop_.GetClock())));
        return Expect({Action::Copy, WaitFor::LastReply, options.wait, output, std::nullopt});
    }
    const Command command = CommandFor(options);
    Send(command.fields);
    Expect({options.action, command.waitFor, options.wait.value_or(command.defaultWait), output,
            options.outputPath});
}

void Console::EndOfInput() {
    inputEnded_ = true;
    if (queue_.empty() && !result_) Finish();
}

bool Console::Interrupt() {
    if (result_ || std::ranges::none_of(queue_, [](const Expected& e) { return e.action == Action::Copy; })) {
        return false;
    }
    Abort();
    return true;
}

void Console::Send(const std::vector<Field>& fields) {
    link_.Send(MakeFrame(CommandText(fields)));
}

void Console::Expect(Expected expected) {
    queue_.push_back(std::move(expected));
    if (queue_.size() == 1) StartHeadWait();
}

// An abort stops a copy only while it runs; one sent before would wait behind
// the copy in the assistant's queue and stop nothing.
void Console::Abort() {
    const auto copy = std::ranges::find(queue_, Action::Copy, &Expected::action);
    if (copy == queue_.end()) {
        const Command command = AbortCommand();
        Send(command.fields);
        return Expect({Action::Abort, command.waitFor, command.defaultWait, options_.output, std::nullopt});
    }
    if (copy == queue_.begin() && copy->copyRunning) {
        Send(AbortCommand().fields);
        return print_("qvctl: aborting the copy\n", true);
    }
    copy->abortHeld = true;
    print_("qvctl: the abort goes once the copy has begun\n", true);
}

void Console::TakeReply(const String& reply) {
    // A reply shows that every command before its own has run.
    bool popped = false;
    for (; !queue_.empty() && queue_.front().waitFor == WaitFor::NoReply; popped = true) queue_.pop_front();
    if (queue_.empty()) {
        Print(nullptr, reply);
        if (popped) StartHeadWait();
        return;
    }
    Expected& head = queue_.front();
    Print(&head, reply);
    if (head.action == Action::Copy && !CopyEndOf(reply)) {
        if (head.copyRunning) return;
        head.copyRunning = true;
        if (head.abortHeld) Send(AbortCommand().fields);
        return StartHeadWait();
    }
    if (head.waitFor != WaitFor::EveryReply) return Done();
    if (popped) StartHeadWait();
}

void Console::Print(const Expected* expected, const String& reply) {
    const OutputMode mode = expected ? expected->output : options_.output;
    if (!expected || !IsFetch(expected->action)) return print_(RenderReply(reply, mode), false);
    const FetchPrintout printout = RenderFetchReply(reply, mode);
    if (!printout.delivered && status_ == 0) status_ = kFetchFailedStatus;
    if (!expected->outputPath) return print_(RenderReply(reply, mode), false);
    print_(printout.lines, false);
    std::ofstream file(*expected->outputPath, std::ios::binary | std::ios::trunc);
    if (!(file << printout.body))
        Fail(kOutputFailedStatus, "qvctl: cannot write " + *expected->outputPath + "\n");
}

void Console::StartHeadWait() {
    headWait_.Reset();
    if (queue_.empty()) {
        if (inputEnded_ && !result_) Finish();
        return;
    }
    const Expected& head = queue_.front();
    const std::optional<Duration> wait =
        head.action == Action::Copy && !head.copyRunning ? kFirstReportWait : head.wait;
    if (wait) headWait_ = loop_.AddTimer(loop_.GetClock().Now() + *wait, [this] { HeadWaitOver(); });
}

void Console::HeadWaitOver() {
    const Expected& head = queue_.front();
    if (head.action == Action::Copy && !head.copyRunning) {
        Fail(static_cast<int>(Outcome::NoReply), NotStartedMessage());
    } else if (head.waitFor != WaitFor::NoReply && head.waitFor != WaitFor::EveryReply) {
        Fail(static_cast<int>(Outcome::NoReply),
             "qvctl: no reply in time to " + std::string(CommandOf(head.action).name) + "\n");
    }
    Done();
}

void Console::Done() {
    queue_.pop_front();
    StartHeadWait();
}

void Console::Fail(int status, std::string_view message) {
    if (status_ == 0) status_ = status;
    print_(message, true);
}

void Console::Finish() {
    headWait_.Reset();
    link_.Close();
    result_ = status_;
}

int RunConsole(const Options& options) {
    SystemClock clock;
    RunLoop loop(clock);
    std::unique_ptr<LineInput> input = LineInput::ForStandardInput(loop, "qvctl> ");
    Console console(loop, options, [&](std::string_view text, bool error) { input->Print(text, error); });
    input->onLine = [&](const std::string& line) { console.TakeLine(line); };
    input->onEnd = [&] { console.EndOfInput(); };
    bool interrupted = false;
    const SignalWatch interrupts(loop, {SIGINT}, [&](int) {
        if (!interrupted && console.Interrupt()) {
            interrupted = true;
            return;
        }
        // Leaves as Ctrl-C leaves any program, with the terminal as it was.
        input.reset();
        std::signal(SIGINT, SIG_DFL);
        std::raise(SIGINT);
    });
    console.Start();
    while (!console.Result()) loop.RunOnce(std::nullopt);
    return *console.Result();
}

}  // namespace qv::ctl
