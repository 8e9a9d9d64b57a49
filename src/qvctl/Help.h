#pragma once

#include <optional>
#include <string>

#include "qvctl/Options.h"

namespace qv::ctl {

// The text of `qvctl --help`, or of `qvctl help COMMAND` for one command;
// made from the tables of commands and options.
std::string HelpText(std::optional<Action> command = std::nullopt);
// The help's parts beside the tables, for the manual page.
std::string_view HelpIntroduction();
std::string HelpDetails();

}  // namespace qv::ctl
