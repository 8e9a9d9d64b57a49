#pragma once

#include <string>

namespace qv::ctl {

// The text of `qvctl --help`; its options come from the options' table.
std::string HelpText();

}  // namespace qv::ctl
