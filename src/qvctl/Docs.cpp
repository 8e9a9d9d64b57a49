#include "qvctl/Docs.h"

#include <initializer_list>
#include <utility>

#include "Version.h"
#include "qvctl/ExitStatus.h"
#include "qvctl/FetchReply.h"
#include "qvctl/Help.h"
#include "qvctl/Options.h"

namespace qv::ctl {

namespace {

// Text as roff shows it literally: a backslash and a minus escaped, and a
// line that would start with a control character guarded.
std::string Roff(std::string_view text) {
    std::string out;
    bool lineStart = true;
    for (const char c : text) {
        if (lineStart && (c == '.' || c == '\'')) out += "\\&";
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";
        } else {
            out += c;
        }
        lineStart = c == '\n';
    }
    return out;
}

// Paragraphs of plain help text; indented lines keep their layout.
std::string RoffParagraphs(std::string_view text) {
    std::string out = ".PP\n";
    bool preformatted = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const bool indented = line.starts_with("  ");
        if (indented != preformatted) out += indented ? ".nf\n" : ".fi\n";
        preformatted = indented;
        out += line.empty() ? ".PP\n" : Roff(line) + "\n";
    }
    return out + (preformatted ? ".fi\n" : "");
}

// A list of labelled paragraphs; `font` is the label's, B or I.
std::string Entries(std::initializer_list<std::pair<std::string, std::string>> entries,
                    std::string_view font) {
    std::string out;
    for (const auto& [label, text] : entries)
        out += ".TP\n." + std::string(font) + " " + Roff(label) + "\n" + Roff(text) + "\n";
    return out;
}

std::string OptionLabel(const OptionInfo& option) {
    std::string label = option.alias.empty() ? "" : std::string(option.alias) + ", ";
    label += option.name;
    if (!option.valueName.empty()) label += " " + std::string(option.valueName);
    return label;
}

}  // namespace

std::string ManualPage() {
    std::string page = ".TH QVCTL 1 \"\" \"qvctl " + std::string(kVersion) + "\" \"User Commands\"\n";
    page += ".SH NAME\nqvctl \\- send commands to the running QVAssistant\n";
    page += ".SH SYNOPSIS\n.B qvctl\n[\\fIOPTIONS\\fR] \\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n.br\n";
    page += ".B qvctl help\n[\\fICOMMAND\\fR]\n";
    page += ".SH DESCRIPTION\n" + RoffParagraphs(HelpIntroduction());
    page += ".SH COMMANDS\n";
    for (const CommandInfo& command : CommandTable()) {
        page += ".TP\n.B " + Roff(std::string(command.name) + " " + std::string(command.operands)) + "\n";
        page += Roff(command.help) + "\n";
    }
    page += ".SH OPTIONS\n";
    for (const OptionInfo& option : OptionTable()) {
        page += ".TP\n.B " + Roff(OptionLabel(option)) + "\n";
        if (!option.commands.empty()) page += Roff(std::string(option.commands)) + ": ";
        page += RoffParagraphs(option.help).substr(4) + "\n";
    }
    page += ".SH DETAILS\n" + RoffParagraphs(HelpDetails());
    page += ".PP\nThe codes of the assistant's timeout and error reports:\n";
    for (const FetchErrorInfo& error : FetchErrorTable()) {
        page += Entries({{std::to_string(error.code), std::string(error.meaning)}}, "B");
    }
    page += ".SH EXIT STATUS\n";
    for (const ExitStatusInfo& status : ExitStatusTable()) {
        page += Entries({{std::to_string(status.code), status.meaning}}, "B");
    }
    const std::string socket(kDefaultSocketPath), variable(kSocketVariable);
    page += ".SH ENVIRONMENT\n" +
            Entries({{variable, "The channel when --socket is not given; unset or empty: " + socket + "."},
                     {"COLUMNS", "The width of the progress bar, in place of the terminal's own."},
                     {"TERM",
                      "With \"dumb\", no escape codes: the bar is redrawn with blanks, and a\n"
                      "session reads lines without editing."},
                     {"XDG_STATE_HOME", "Where the session's history is kept (default ~/.local/state)."}},
                    "B");
    page += ".SH FILES\n" +
            Entries({{socket, "The assistant's socket, by default."},
                     {"$XDG_STATE_HOME/qvctl/history", "The lines of earlier sessions on a terminal."}},
                    "I");
    page += ".SH EXAMPLES\n" + RoffParagraphs(R"x(Start the assistant, then ask for its status in a script:
  qvassistant &
  [ "$(qvctl status | sed -n 's/^Status: //p')" = Ready ]
A page into a file, its lines beside it, the Server header of another:
  qvctl get http://example.com/ --output page.html --dump-header page.hdr
  qvctl headers http://example.com/ | grep -i '^Server:'
Several commands on one connection, since each command alone ends the
assistant:
  printf 'status\ncopy big.iso /backup iso/big.iso\n' | qvctl session
)x");
    page += ".SH SEE ALSO\n.BR qvassistant (1)\n";
    return page;
}

std::string BashCompletion() {
    std::string commands = "help", allOptions, valued, files, perCommand;
    const auto add = [](std::string& list, std::string_view word, std::string_view separator) {
        list += std::string(list.empty() ? "" : separator) + std::string(word);
    };
    for (const CommandInfo& command : CommandTable()) {
        add(commands, command.name, " ");
        std::string options;
        for (const OptionInfo& option : OptionTable()) {
            if (Takes(option, command.action)) add(options, option.name, " ");
        }
        perCommand += "        " + std::string(command.name) + ") words=\"" + options + "\" ;;\n";
    }
    for (const OptionInfo& option : OptionTable()) {
        add(allOptions, option.name, " ");
        if (option.valueName.empty()) continue;
        add(valued, option.name, "|");
        if (option.valueName == "PATH" || option.valueName == "FILE") add(files, option.name, "|");
    }
    // Paths as bash completes them for its own commands: one word each, blanks
    // and all, and a folder with its slash and no space behind it.
    return "# bash completion for qvctl " + std::string(kVersion) +
           ", made from its tables of commands and options\n"
           "_qvctl_paths() {\n"
           "    compopt -o filenames 2>/dev/null\n"
           "    mapfile -t COMPREPLY < <(compgen \"$1\" -- \"$cur\")\n"
           "}\n"
           "_qvctl() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command= words i "
           "operands=0\n"
           "    case $prev in\n"
           "        " +
           files +
           ") _qvctl_paths -f; return ;;\n"
           "        " +
           valued +
           ") return ;;\n"
           "    esac\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        case ${COMP_WORDS[i]} in\n"
           "            " +
           valued +
           ") ((i++)) ;;\n"
           "            -*) ;;\n"
           "            *) [[ -z $command ]] && command=${COMP_WORDS[i]} || ((operands++)) ;;\n"
           "        esac\n"
           "    done\n"
           "    case $command in\n" +
           perCommand + "        *) words=\"" + allOptions +
           "\" ;;\n"
           "    esac\n"
           "    if [[ $cur == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
           "    elif [[ -z $command || $command == help ]]; then\n"
           "        COMPREPLY=($(compgen -W \"" +
           commands +
           "\" -- \"$cur\"))\n"
           "    elif [[ $command == copy && $operands == 0 ]]; then\n"
           "        _qvctl_paths -f\n"
           "    elif [[ $command == copy && $operands == 1 ]]; then\n"
           "        _qvctl_paths -d\n"
           "    fi\n"
           "}\n"
           "complete -F _qvctl qvctl\n";
}

}  // namespace qv::ctl
