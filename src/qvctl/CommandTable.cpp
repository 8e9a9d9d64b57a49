#include <algorithm>
#include <chrono>
#include <variant>

#include "foundation/Clock.h"
#include "qvctl/Command.h"
#include "qvctl/Console.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Options.h"

namespace qv::ctl {

namespace {

void RunStatus(Console& console, const Options& options) {
    console.Send(options,
                 {WordOnly(CommandWord::Status), WaitFor::FirstReply, options.wait.value_or(kReplyWait)});
}

void RunShowOrHide(Console& console, const Options& options) {
    const std::string_view word = options.action == Action::Show ? CommandWord::Show : CommandWord::Hide;
    console.Send(options, {WordOnly(word), WaitFor::NoReply, options.wait.value_or(kLinger)});
}

void RunAbort(Console& console, const Options& options) {
    console.Abort(options);
}

// The field that holds the URL has the name of the command.
void RunPage(Console& console, const Options& options) {
    const std::string_view word =
        options.action == Action::Get ? CommandWord::GetPageURL : CommandWord::GetHeadersURL;
    console.Send(options, {{{FieldName::Command, word}, {word, options.url}},
                           WaitFor::FirstReply,
                           options.wait.value_or(kFetchWait)});
}

void RunNews(Console& console, const Options& options) {
    console.Send(options, {{{FieldName::Command, CommandWord::GetNews},
                            {FieldName::WebAddress, options.url},
                            {FieldName::DateStr, options.date.value_or("")},
                            {FieldName::GOIStr, options.goi.value_or("")}},
                           WaitFor::FirstReply,
                           options.wait.value_or(kFetchWait)});
}

// The assistant answers a copy that it cannot start with nothing at all, so
// what qvctl can see wrong it refuses before asking.
void RunCopy(Console& console, const Options& options) {
    const auto local = Localize(options.copy);
    if (const auto* error = std::get_if<std::string>(&local)) {
        return console.Fail(ExitStatus::Usage, "qvctl: " + *error + "\n");
    }
    const LocalCopy& copy = std::get<LocalCopy>(local);
    console.Send(options,
                 {CopyFileFields(copy, Ticks(console.GetClock())), WaitFor::LastReply, options.wait, copy});
}

void RunSend(Console& console, const Options& options) {
    console.Send(options, {options.fields, WaitFor::EveryReply, options.wait.value_or(kReplyWait)});
}

// Only ever run inside a session: a session outside one is the console itself.
void RunSession(Console& console, const Options&) {
    console.Fail(ExitStatus::Usage, "qvctl: a session has its one connection already\n");
}

}  // namespace

std::string SecondsText(Duration duration) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(duration).count());
}

std::span<const CommandInfo> CommandTable() {
    static const CommandInfo commands[] = {
        {"status", Action::Status, "", "Command \"Status\"; waits for the status report.", RunStatus},
        {"show", Action::Show, "", "Command \"Show\"; no reply comes.", RunShowOrHide},
        {"hide", Action::Hide, "", "Command \"Hide\"; no reply comes.", RunShowOrHide},
        {"abort", Action::Abort, "", "Command \"CopyFileAbort\"; waits for the copy end report.", RunAbort},
        {"get", Action::Get, "URL", "Command \"GetPageURL\": the assistant fetches the page.", RunPage},
        {"headers", Action::Headers, "URL", "Command \"GetHeadersURL\": only the headers of the page.",
         RunPage},
        {"news", Action::News, "URL",
         "Command \"GetNews\": the assistant posts a form with the\n"
         "keys date and goi to URL (empty when not given).",
         RunNews},
        {"copy", Action::Copy, "SOURCE DEST_FOLDER DEST_PATH",
         "Command \"CopyFile\": the assistant copies the file SOURCE\n"
         "to DEST_PATH (\"a/b/c.txt\") below the folder DEST_FOLDER,\n"
         "making missing folders, and reports its progress about\n"
         "once a second until the end report. Ctrl-C or SIGTERM\n"
         "asks the assistant to abort and waits for the end\n"
         "report; a second Ctrl-C leaves the copy unfinished.",
         RunCopy},
        {"send", Action::Send, "NAME=VALUE...",
         "Any command: each pair becomes one line \"NAME:VALUE\"\n"
         "ended by CR, in the order given. The name ends at the\n"
         "first \"=\", so a value may hold \"=\". Put \"--\" before a\n"
         "pair that begins with \"-\".",
         RunSend},
        {"session", Action::Session, "",
         "Keeps one connection and reads commands line by line,\n"
         "from a terminal with line editing and history, or from\n"
         "standard input when it is a file or a pipe. Each line\n"
         "is a command as above with its options; \"quit\", Ctrl-D\n"
         "or the end of input waits for the replies still due,\n"
         "then leaves; \"help [COMMAND]\" shows this help. Replies\n"
         "print as they arrive, also while a copy runs, so that\n"
         "abort works then; a command typed meanwhile runs after\n"
         "the copy. Ctrl-C aborts a running copy, or else clears\n"
         "the line.",
         RunSession},
    };
    return commands;
}

const CommandInfo& CommandOf(Action action) {
    return *std::ranges::find(CommandTable(), action, &CommandInfo::action);
}

}  // namespace qv::ctl
