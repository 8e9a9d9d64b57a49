#pragma once

#include <optional>
#include <span>
#include <string>

#include "qvctl/ExitStatus.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// The text of `qvctl --help`, or of `qvctl help COMMAND` for one command;
// made from the tables of commands and options.
std::string HelpText(std::optional<Action> command = std::nullopt);
// The help's parts beside the tables, for the manual page.
std::string_view HelpIntroduction();
std::string HelpDetails();

struct ExitStatusInfo {
    int code;
    std::string meaning;  // lines of help, without their indentation
};
// What each exit status means.
std::span<const ExitStatusInfo> ExitStatusTable();

}  // namespace qv::ctl
