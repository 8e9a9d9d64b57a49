#pragma once

#include <string>
#include <string_view>

namespace qv::ctl {

// Appends `bytes` as a JSON string, quotes included: '"' and '\' escaped, every
// byte below 0x20 as \u00XX (upper-case hex). Valid UTF-8 passes through; each
// byte that is not part of a valid sequence becomes \ufffd, so the result
// always parses (reply lines may carry a server's bytes in any encoding).
void AppendJsonString(std::string& out, std::string_view bytes);

}  // namespace qv::ctl
