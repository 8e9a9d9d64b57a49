#include "qvctl/Console.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>

#include "Version.h"
#include "foundation/SignalWatch.h"
#include "protocol/CommandText.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/FetchReply.h"
#include "qvctl/Help.h"
#include "qvctl/LineInput.h"
#include "qvctl/ReplyFormat.h"

namespace qv::ctl {

namespace {

bool IsCopy(const auto& expected) {
    return expected.copy != nullptr;
}

std::string NotStartedMessage() {
    return "qvctl: the assistant did not start the copy: no report came within " +
           SecondsText(kFirstReportWait) +
           " s.\n"
           "It drops a copy that it cannot start without a word, for example when\n"
           "  - SOURCE cannot be opened for reading (no permission, a FIFO or device),\n"
           "  - the destination cannot be made or written (no permission, a full\n"
           "    disk, a read-only file system),\n"
           "  - the destination is SOURCE itself under another name.\n";
}

}  // namespace

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

Console::Console(RunLoop& loop, const Options& options, std::string socketPath, Screen& screen)
    : loop_(loop),
      options_(options),
      socketPath_(std::move(socketPath)),
      screen_(screen),
      link_(loop, socketPath_) {
    link_.onReply = [this](const String& reply) { TakeReply(reply); };
    link_.onLost = [this](Loss loss) { Lost(loss); };
}

void Console::Start() {
    if (!std::exchange(started_, true)) link_.Connect();
}

void Console::TakeLine(std::string_view line) {
    if (result_ || inputEnded_) return;
    const auto words = SplitWords(line);
    if (!words) return Fail(ExitStatus::Usage, "qvctl: a quote is left open\n");
    if (words->empty() || words->front().starts_with('#')) return;
    if (words->size() == 1 && (words->front() == "quit" || words->front() == "exit")) return EndOfInput();
    const std::vector<std::string_view> args(words->begin(), words->end());
    auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed))
        return Fail(ExitStatus::Usage, "qvctl: " + error->message + "\n");
    const Options& options = std::get<Options>(parsed);
    if (options.help) {
        screen_.Print(HelpText(options.helpTopic), false);
    } else if (options.version) {
        screen_.Print("qvctl " + std::string(kVersion) + "\n", false);
    } else if (options.socketPath) {
        Fail(ExitStatus::Usage, "qvctl: a session has its one connection already\n");
    } else {
        Run(WithSessionDefaults(options));
    }
}

Options Console::WithSessionDefaults(Options options) const {
    if (options.output == OutputMode::Text) options.output = options_.output;
    if (options.verbosity == Verbosity::Normal) options.verbosity = options_.verbosity;
    return options;
}

void Console::Run(const Options& options) {
    const bool behindCopy = std::ranges::any_of(queue_, IsCopy<Expected>);
    const std::size_t before = queue_.size();
    CommandOf(options.action).run(*this, options);
    if (behindCopy && queue_.size() > before && options.verbosity != Verbosity::Quiet) {
        screen_.Print("qvctl: queued behind the copy; the assistant runs it once the copy has ended\n", true);
    }
}

void Console::EndOfInput() {
    inputEnded_ = true;
    if (queue_.empty() && !result_) Finish();
}

void Console::Send(const Options& options, Request request) {
    Expected expected{options, request.waitFor, request.wait, {}, {}, {}};
    if (!OpenFiles(expected)) return;
    if (request.copy) {
        expected.copy = std::make_unique<CopyDisplay>(screen_, options.output, options.verbosity, GetClock(),
                                                      *request.copy);
    }
    SendFields(request.fields, options);
    queue_.push_back(std::move(expected));
    if (queue_.size() == 1) StartHeadWait();
}

// Opened before the command goes, as a shell redirection would be, so that a
// path that cannot be written costs no wait.
bool Console::OpenFiles(Expected& expected) {
    for (const auto& [path, file] : {std::pair{&expected.options.outputPath, &expected.bodyFile},
                                     std::pair{&expected.options.headerPath, &expected.headerFile}}) {
        if (!*path || **path == "-") continue;
        *file = std::make_unique<std::ofstream>(**path, std::ios::binary | std::ios::trunc);
        if (!**file) {
            Fail(ExitStatus::OutputFailed, "qvctl: cannot write " + **path + "\n");
            return false;
        }
    }
    return true;
}

void Console::SendFields(const std::vector<Field>& fields, const Options& options) {
    Start();
    if (options.verbosity == Verbosity::Verbose) {
        std::string text;
        for (const Field& field : fields) text += "qvctl: > " + field.name + ":" + field.value + "\n";
        screen_.Print(text, true);
    }
    link_.Send(MakeFrame(CommandText(fields)));
}

void Console::Abort(const Options& options) {
    const auto copy = std::ranges::find_if(queue_, IsCopy<Expected>);
    if (copy != queue_.end()) return RequestAbort(*copy);
    Send(options,
         {WordOnly(CommandWord::CopyFileAbort), WaitFor::FirstReply, options.wait.value_or(kReplyWait)});
}

// An abort stops a copy only while it runs; one sent before would wait behind
// the copy in the assistant's queue and stop nothing.
void Console::RequestAbort(Expected& copy) {
    if (std::exchange(copy.abortRequested, true)) return;
    if (copy.copyRunning) SendFields(WordOnly(CommandWord::CopyFileAbort), copy.options);
    if (copy.options.verbosity == Verbosity::Quiet) return;
    screen_.Print(copy.copyRunning ? "qvctl: aborting the copy; Ctrl-C again leaves it unfinished\n"
                                   : "qvctl: the abort goes once the copy has begun; Ctrl-C again leaves it\n"
                                     "unfinished\n",
                  true);
}

bool Console::Interrupt() {
    const auto copy = std::ranges::find_if(queue_, IsCopy<Expected>);
    if (result_ || copy == queue_.end() || copy->abortRequested) return false;
    RequestAbort(*copy);
    return true;
}

void Console::LeaveNow() {
    const auto copy = std::ranges::find_if(queue_, IsCopy<Expected>);
    if (copy != queue_.end()) screen_.Print(copy->copy->Unfinished(), true);
    screen_.EndStatus();
}

void Console::TakeReply(const String& reply) {
    if (result_) return;
    // A reply shows that every command before its own has run.
    bool popped = false;
    for (; !queue_.empty() && queue_.front().waitFor == WaitFor::NoReply; popped = true) queue_.pop_front();
    if (queue_.empty()) {
        Print(nullptr, reply);
        if (popped) StartHeadWait();
        return;
    }
    Expected& head = queue_.front();
    ++head.replies;
    if (head.copy) return TakeCopyReport(head, reply);
    Print(&head, reply);
    if (head.waitFor != WaitFor::EveryReply) return Done();
    if (popped) StartHeadWait();
}

void Console::TakeCopyReport(Expected& head, const String& reply) {
    head.copy->Show(reply);
    if (const auto end = CopyEndOf(reply)) {
        if (*end == CopyEnd::Abort) Fail(ExitStatus::CopyAborted, "");
        return Done();
    }
    if (std::exchange(head.copyRunning, true)) return;
    if (head.abortRequested) SendFields(WordOnly(CommandWord::CopyFileAbort), head.options);
    StartHeadWait();
}

void Console::Print(Expected* expected, const String& reply) {
    if (expected && IsFetch(expected->options.action)) return PrintFetch(*expected, reply);
    const OutputMode mode = expected ? expected->options.output : options_.output;
    Write(nullptr, std::nullopt, RenderReply(reply, mode), false);
}

// The lines of a page go to --dump-header, else to standard output for
// headers, whose output they are, else to standard error beside the body.
void Console::PrintFetch(Expected& expected, const String& reply) {
    const Options& options = expected.options;
    const FetchPrintout printout = RenderFetchReply(reply, options.output);
    const bool toStandardError = !options.headerPath && options.action != Action::Headers;
    if (options.output == OutputMode::Json) {
        Write(nullptr, std::nullopt, printout.body, false);
    } else {
        // The message below tells a failure in Text mode; Raw shows its bytes too.
        if ((printout.delivered || options.output == OutputMode::Raw) &&
            (!toStandardError || options.verbosity != Verbosity::Quiet)) {
            Write(expected.headerFile.get(), options.headerPath, printout.lines, toStandardError);
        }
        Write(expected.bodyFile.get(), options.outputPath, printout.body, false);
    }
    if (!printout.delivered) Fail(ExitStatus::FetchFailed, FetchFailureMessage(reply, options.url));
}

void Console::Write(std::ofstream* file, const std::optional<std::string>& path, std::string_view text,
                    bool error) {
    if (text.empty()) return;
    const bool written = file ? static_cast<bool>(*file << text << std::flush) : screen_.Print(text, error);
    if (!written)
        Fail(ExitStatus::OutputFailed, "qvctl: cannot write " + (file ? *path : "standard output") + "\n");
}

void Console::StartHeadWait() {
    headWait_.Reset();
    if (queue_.empty()) {
        if (inputEnded_ && !result_) Finish();
        return;
    }
    const Expected& head = queue_.front();
    const std::optional<Duration> wait = head.copy && !head.copyRunning ? kFirstReportWait : head.wait;
    if (wait) headWait_ = loop_.AddTimer(loop_.GetClock().Now() + *wait, [this] { HeadWaitOver(); });
}

void Console::HeadWaitOver() {
    const Expected& head = queue_.front();
    if (head.copy && !head.copyRunning) {
        Fail(ExitStatus::NoReply, NotStartedMessage());
    } else if (head.waitFor != WaitFor::NoReply &&
               !(head.waitFor == WaitFor::EveryReply && head.replies > 0)) {
        Fail(ExitStatus::NoReply,
             "qvctl: no reply in time to " + std::string(CommandOf(head.options.action).name) + "\n");
    }
    Done();
}

void Console::Done() {
    queue_.pop_front();
    StartHeadWait();
}

void Console::Lost(Loss loss) {
    if (result_) return;
    // Replies that came before the close have been delivered by now; only a
    // send that has had some is content with them.
    const bool settled = inputEnded_ && std::ranges::all_of(queue_, [](const Expected& e) {
                             return e.waitFor == WaitFor::EveryReply && e.replies > 0;
                         });
    if (!settled) Fail(ExitStatus::Unreachable, LossMessage(loss, socketPath_));
    Finish();
}

void Console::Fail(ExitStatus status, std::string_view message) {
    if (!status_) status_ = status;
    if (!message.empty()) screen_.Print(message, true);
}

void Console::Finish() {
    headWait_.Reset();
    link_.Close();
    screen_.EndStatus();
    result_ = status_.value_or(ExitStatus::Ok);
}

ExitStatus RunConsole(const Options& options, bool session) {
    SystemClock clock;
    RunLoop loop(clock);
    Screen screen;
    Console console(loop, options, ChannelPath(options, std::getenv(kSocketVariable)), screen);
    std::unique_ptr<LineInput> input;
    if (session) {
        input = LineInput::ForStandardInput(loop, "qvctl> ", screen);
        input->onLine = [&](const std::string& line) {
            console.TakeLine(line);
            if (console.InputEnded()) input->Stop();
        };
        input->onEnd = [&] { console.EndOfInput(); };
        console.Start();
    }
    const SignalWatch signals(loop, {SIGINT, SIGTERM, SIGWINCH}, [&](int signal) {
        if (signal == SIGWINCH) {
            if (input) input->Resize();
            return screen.Resize();
        }
        // The terminal has echoed "^C" where the cursor was; what follows goes below it.
        if (!input && !screen.EndStatus() && isatty(STDERR_FILENO)) screen.Print("\n", true);
        if (console.Interrupt() || (signal == SIGINT && input && input->ClearLine())) return;
        console.LeaveNow();
        // Leaves as the signal ends any program, with the terminal as it was.
        input.reset();
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    });
    if (!session) {
        console.Run(options);
        console.EndOfInput();
    }
    while (!console.Result()) loop.RunOnce(std::nullopt);
    return *console.Result();
}

}  // namespace qv::ctl
