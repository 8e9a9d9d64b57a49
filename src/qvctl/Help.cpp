#include "qvctl/Help.h"

#include "qvctl/Options.h"

namespace qv::ctl {

namespace {

constexpr std::string_view kCommands = R"(Usage: qvctl [OPTIONS] COMMAND [ARGUMENTS]

Sends one command to the running QVAssistant over its local channel and
prints each reply.

Commands:
  status              Command "Status"; waits for the status report.
  show                Command "Show"; no reply comes.
  hide                Command "Hide"; no reply comes.
  abort               Command "CopyFileAbort"; waits for the copy end report.
  get URL             Command "GetPageURL": the assistant fetches the page.
  headers URL         Command "GetHeadersURL": only the headers of the page.
  news URL [--date TEXT] [--goi TEXT]
                      Command "GetNews": the assistant posts a form with
                      the keys date and goi to URL (empty when not given).
  copy SOURCE DEST_FOLDER DEST_PATH [--total BYTES] [--md5 TAG] [--no-reset]
                      Command "CopyFile": the assistant copies the file
                      SOURCE to DEST_PATH ("a/b/c.txt") below the folder
                      DEST_FOLDER, making missing folders, and reports its
                      progress about once a second until the end report.
                      Ctrl-C asks the assistant to abort and waits for the
                      end report; a second Ctrl-C leaves at once.
  send NAME=VALUE...  Any command: each pair becomes one line "NAME:VALUE"
                      ended by CR, in the order given. The name ends at the
                      first "=", so a value may hold "=". Put "--" before a
                      pair that begins with "-".

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
copy that it cannot start with nothing at all, so qvctl first checks that
SOURCE is a file and DEST_FOLDER a folder. On a terminal, without --raw or
--json, the progress reports redraw one bar in place and the end report is
printed as it is; elsewhere every report is printed as a reply. A Ctrl-C
before the first progress report is held until it comes: the assistant runs
one command at a time, and an abort sent earlier would wait behind the copy
and stop nothing.

The assistant accepts exactly one peer and ends when that peer leaves, so it
ends when qvctl exits. It runs commands only every 2 seconds, which is why
show and hide stay connected for a while before qvctl exits.

Exit status:
  0  the reply came (show, hide: the connection stayed up for the whole wait;
     send: at least one reply came; copy: "Status: Complete")
  1  the arguments are wrong (copy: also SOURCE not a file, DEST_FOLDER not
     a folder)
  2  no reply in time
  3  the assistant cannot be reached, or it went away before the reply
  4  get, headers, news: the fetch failed (timeout or error report)
  5  the body cannot be written (--output or standard output)
  6  copy: the end report says "Status: Abort"
)";

// Where the help of an option starts; a longer option stands on a line of its own.
constexpr std::size_t kHelpColumn = 22;

void AddOption(std::string& text, const OptionSpec& option) {
    std::string label = "  ";
    if (!option.alias.empty()) label += std::string(option.alias) + ", ";
    label += option.name;
    if (!option.valueName.empty()) label += " " + std::string(option.valueName);
    text += label;
    std::size_t column = label.size();
    std::string_view help = option.help;
    while (!help.empty()) {
        const std::size_t end = help.find('\n');
        const std::string_view line = help.substr(0, end);
        if (column + 1 > kHelpColumn) {
            text += '\n';
            column = 0;
        }
        text.append(kHelpColumn - column, ' ');
        text += line;
        text += '\n';
        column = 0;
        help = end == std::string_view::npos ? std::string_view() : help.substr(end + 1);
    }
}

}  // namespace

std::string HelpText() {
    std::string text(kCommands);
    text += "Options:\n";
    for (const OptionSpec& option : OptionTable()) AddOption(text, option);
    text += '\n';
    text += kDetails;
    return text;
}

}  // namespace qv::ctl
