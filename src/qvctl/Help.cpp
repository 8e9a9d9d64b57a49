#include "qvctl/Help.h"

#include <algorithm>

namespace qv::ctl {

namespace {

constexpr std::string_view kIntroduction =
    R"(Sends commands to the running QVAssistant over its local channel and
prints each reply.
)";

constexpr std::string_view kDetails =
    R"(Without --raw or --json a reply is printed as it is: its lines end in CR LF.

The reply to get, headers and news is split: its lines go to standard error
(as they are, or with --raw made visible), and the body of a page, behind the
empty line, goes to standard output as raw bytes, so that
"qvctl get URL > page.html" saves exactly the page. headers brings no body.
A page with any HTTP status, 404 included, is a page. The timeout report
(HTTPError: 1) and the error report (a single line "HTTPError: CODE") go to
standard error and qvctl exits with 4. With --json the whole reply goes to
standard output as its JSON line, the body in Base64.

copy sends SOURCE and DEST_FOLDER as absolute paths. The assistant answers a
copy that it cannot start with nothing at all, so qvctl first checks what it
can: SOURCE a file, DEST_FOLDER a folder, DEST_PATH relative and without empty
parts, no file where a folder must be, no folder in the way, the destination
not SOURCE itself, and a folder it may write in. When no report comes within
10 seconds, it says that the assistant did not start the copy and exits with
2. On a terminal, without --raw or --json, the progress redraws one bar in
place, with the rate and the time left, measured on the destination file, and
ends with a summary line; elsewhere every report is printed as a reply. A
Ctrl-C before the first progress report is held until it comes: the
assistant runs one command at a time, and an abort sent earlier would wait
behind the copy and stop nothing.

The assistant accepts exactly one peer and ends when that peer leaves, so it
ends when qvctl exits; the session command keeps one connection for many
commands. It runs commands only every 2 seconds, which is why show and hide
stay connected for a while before qvctl exits.

Exit status:
  0  the reply came (show, hide: the connection stayed up for the whole wait;
     send: at least one reply came; copy: "Status: Complete")
  1  the arguments are wrong (copy: also what qvctl finds wrong with the
     files)
  2  no reply in time (copy: the assistant did not start it)
  3  the assistant cannot be reached, or it went away before the reply
  4  get, headers, news: the fetch failed (timeout or error report)
  5  the body cannot be written (--output or standard output)
  6  copy: the end report says "Status: Abort"
)";

// Where the help of an entry starts; a longer label stands on a line of its own.
constexpr std::size_t kHelpColumn = 22;

// "  label  first line of help" and the further lines of help below it.
void AddEntry(std::string& text, const std::string& label, std::string_view help) {
    text += "  " + label;
    std::size_t column = label.size() + 2;
    while (!help.empty()) {
        const std::size_t end = help.find('\n');
        if (column + 1 > kHelpColumn) {
            text += '\n';
            column = 0;
        }
        text.append(kHelpColumn - column, ' ');
        text += help.substr(0, end);
        text += '\n';
        column = 0;
        help = end == std::string_view::npos ? std::string_view() : help.substr(end + 1);
    }
}

void AddCommand(std::string& text, const CommandSpec& command) {
    AddEntry(
        text,
        std::string(command.name) + (command.operands.empty() ? "" : " ") + std::string(command.operands),
        command.help);
}

void AddOptions(std::string& text, std::optional<Action> only) {
    text += "Options:\n";
    for (const OptionSpec& option : OptionTable()) {
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

std::string_view HelpDetails() {
    return kDetails;
}

std::string HelpText(std::optional<Action> command) {
    if (command) {
        const CommandSpec& spec = CommandOf(*command);
        std::string text = "Usage: qvctl [OPTIONS] " + std::string(spec.name);
        if (!spec.operands.empty()) text += " " + std::string(spec.operands);
        text += "\n\n";
        for (std::string_view help = spec.help; !help.empty();) {
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
    for (const CommandSpec& spec : CommandTable()) AddCommand(text, spec);
    text += "\n";
    AddOptions(text, std::nullopt);
    text += "\n";
    text += kDetails;
    return text;
}

}  // namespace qv::ctl
