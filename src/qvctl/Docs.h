#pragma once

#include <string>

namespace qv::ctl {

// qvctl's manual page (roff, man(7)) and its bash completion, made from the
// same tables and texts as --help, so that they cannot drift apart.
std::string ManualPage();
std::string BashCompletion();

}  // namespace qv::ctl
