#include "qvctl/Docs.h"

#include "Version.h"
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

std::string OptionLabel(const OptionSpec& option) {
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
    for (const CommandSpec& command : CommandTable()) {
        page += ".TP\n.B " + Roff(std::string(command.name) + " " + std::string(command.operands)) + "\n";
        page += Roff(command.help) + "\n";
    }
    page += ".SH OPTIONS\n";
    for (const OptionSpec& option : OptionTable()) {
        page += ".TP\n.B " + Roff(OptionLabel(option)) + "\n";
        if (!option.commands.empty()) page += Roff(std::string(option.commands)) + ": ";
        page += RoffParagraphs(option.help).substr(4) + "\n";
    }
    page += ".SH DETAILS\n" + RoffParagraphs(HelpDetails());
    page += ".SH SEE ALSO\n.BR qvassistant (1)\n";
    return page;
}

std::string BashCompletion() {
    std::string commands = "help", allOptions, valued, files, perCommand;
    const auto add = [](std::string& list, std::string_view word, std::string_view separator) {
        list += std::string(list.empty() ? "" : separator) + std::string(word);
    };
    for (const CommandSpec& command : CommandTable()) {
        add(commands, command.name, " ");
        std::string options;
        for (const OptionSpec& option : OptionTable()) {
            if (Takes(option, command.action)) add(options, option.name, " ");
        }
        perCommand += "        " + std::string(command.name) + ") words=\"" + options + "\" ;;\n";
    }
    for (const OptionSpec& option : OptionTable()) {
        add(allOptions, option.name, " ");
        if (option.valueName.empty()) continue;
        add(valued, option.name, "|");
        if (option.valueName == "PATH" || option.valueName == "FILE") add(files, option.name, "|");
    }
    return "# bash completion for qvctl " + std::string(kVersion) +
           ", made from its tables of commands and options\n"
           "_qvctl() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command= words i\n"
           "    case $prev in\n"
           "        " +
           files +
           ") COMPREPLY=($(compgen -f -- \"$cur\")); return ;;\n"
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
           "            *) command=${COMP_WORDS[i]}; break ;;\n"
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
           "    elif [[ $command == copy ]]; then\n"
           "        COMPREPLY=($(compgen -f -- \"$cur\"))\n"
           "    fi\n"
           "}\n"
           "complete -F _qvctl qvctl\n";
}

}  // namespace qv::ctl
