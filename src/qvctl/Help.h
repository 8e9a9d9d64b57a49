#pragma once

#include <string_view>

namespace qv::ctl {

// The text of `qvctl --help`.
std::string_view HelpText();

}  // namespace qv::ctl
