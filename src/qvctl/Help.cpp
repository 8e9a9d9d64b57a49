#include "qvctl/Help.h"

#include <algorithm>
#include <csignal>

#include "qvctl/Command.h"

namespace qv::ctl {

namespace {

constexpr int ExitCode(ExitStatus status) {
    return static_cast<int>(status);
}

const ExitStatusInfo kExitStatuses[] = {
    {ExitCode(ExitStatus::Ok),
     "the reply came (show, hide: the connection stayed up for\n"
     "the whole wait; send: at least one reply came; copy:\n"
     "\"Status: Complete\")"},
    {ExitCode(ExitStatus::Usage),
     "the arguments are wrong (copy: also what qvctl finds\nwrong with the files)"},
    {ExitCode(ExitStatus::NoReply), "no reply in time (copy: the assistant did not start it)"},
    {ExitCode(ExitStatus::Unreachable),
     "the assistant is not there, is busy with another peer,\n"
     "or went away before the reply"},
    {ExitCode(ExitStatus::FetchFailed), "get, headers, news: the fetch failed (timeout or error\nreport)"},
    {ExitCode(ExitStatus::OutputFailed),
     "the body or the lines cannot be written (--output,\n"
     "--dump-header or standard output)"},
    {ExitCode(ExitStatus::CopyAborted), "copy: the end report says \"Status: Abort\""},
    // qvctl ends by the signal itself, as any program that it ends.
    {128 + SIGINT,
     "Ctrl-C with no copy to abort, or a second one (SIGTERM:\n" + std::to_string(128 + SIGTERM) + ")"},
};

constexpr std::string_view kIntroduction =
    R"(Sends commands to the running QVAssistant over its local channel and
prints each reply.
)";

std::string Details() {
    return R"(Without --raw or --json a reply is printed with its lines ended by LF.

The reply to get and news is split: its lines go to standard error (as
they are, or with --raw made visible; with --quiet nowhere; with
--dump-header to a file), and the body of a page, behind the empty line,
goes to standard output as raw bytes, so that "qvctl get URL > page.html"
saves exactly the page. For headers the lines are the output. A page with
any HTTP status, 404 included, is a page. When the assistant reports a
timeout or an error instead, qvctl says so with the code in words and
exits with 4. With --json the whole reply goes to standard output as its
JSON line, the body in Base64.

copy sends SOURCE and DEST_FOLDER as absolute paths. The assistant answers a
copy that it cannot start with nothing at all, so qvctl first checks what it
can: SOURCE a file, DEST_FOLDER a folder, DEST_PATH relative and without empty
parts, no file where a folder must be, no folder in the way, the destination
not SOURCE itself, and a folder it may write in. When no report comes within
)" + SecondsText(kFirstReportWait) +
           R"( seconds, it says that the assistant did not start the copy and exits
with 2. On a terminal, without --raw or --json, the progress is one bar
redrawn in place (above the prompt in a session), with the rate and the time
left, measured on the destination file, and ends with a summary line;
elsewhere every report is printed as a reply. A Ctrl-C or SIGTERM before the
first progress report is held until it comes: the assistant runs one command
at a time, and an abort sent earlier would wait behind the copy and stop
nothing.

The assistant accepts one peer at a time, closes any other connection at
once, and ends when its peer leaves, so each command but session ends it. It
runs commands only every 2 seconds, which is why show and hide stay
connected for a while before qvctl exits.
)";
}

// Where the help of an entry starts; a longer label stands on a line of its own.
constexpr std::size_t kHelpColumn = 22;

// "  label  first line of help" and the further lines of help below it.
void AddEntry(std::string& text, const std::string& label, std::string_view help,
              std::size_t helpColumn = kHelpColumn) {
    text += "  " + label;
    std::size_t column = label.size() + 2;
    while (!help.empty()) {
        const std::size_t end = help.find('\n');
        if (column + 1 > helpColumn) {
            text += '\n';
            column = 0;
        }
        text.append(helpColumn - column, ' ');
        text += help.substr(0, end);
        text += '\n';
        column = 0;
        help = end == std::string_view::npos ? std::string_view() : help.substr(end + 1);
    }
}

void AddCommand(std::string& text, const CommandInfo& command) {
    AddEntry(
        text,
        std::string(command.name) + (command.operands.empty() ? "" : " ") + std::string(command.operands),
        command.help);
}

void AddOptions(std::string& text, std::optional<Action> only) {
    text += "Options:\n";
    for (const OptionInfo& option : OptionTable()) {
        if (only && !Takes(option, *only)) continue;
        std::string label = option.alias.empty() ? "" : std::string(option.alias) + ", ";
        label += option.name;
        if (!option.valueName.empty()) label += " " + std::string(option.valueName);
        const std::string owners = only || option.commands.empty() ? "" : std::string(option.commands) + ": ";
        AddEntry(text, label, owners + std::string(option.help));
    }
}

}  // namespace

std::string_view HelpIntroduction() {
    return kIntroduction;
}

std::string HelpDetails() {
    return Details();
}

std::span<const ExitStatusInfo> ExitStatusTable() {
    return kExitStatuses;
}

std::string HelpText(std::optional<Action> command) {
    if (command) {
        const CommandInfo& info = CommandOf(*command);
        std::string text = "Usage: qvctl [OPTIONS] " + std::string(info.name);
        if (!info.operands.empty()) text += " " + std::string(info.operands);
        text += "\n\n";
        for (std::string_view help = info.help; !help.empty();) {
            const std::size_t end = std::min(help.find('\n'), help.size());
            text += std::string(help.substr(0, end)) + "\n";
            help.remove_prefix(std::min(end + 1, help.size()));
        }
        text += "\n";
        AddOptions(text, command);
        return text;
    }
    std::string text = "Usage: qvctl [OPTIONS] COMMAND [ARGUMENTS]\n       qvctl help [COMMAND]\n\n";
    text += kIntroduction;
    text += "\nCommands:\n";
    for (const CommandInfo& info : CommandTable()) AddCommand(text, info);
    text += "\n";
    AddOptions(text, std::nullopt);
    text += "\n";
    text += Details() + "\nExit status:\n";
    for (const ExitStatusInfo& status : kExitStatuses)
        AddEntry(text, std::to_string(status.code), status.meaning, 7);
    return text;
}

}  // namespace qv::ctl
