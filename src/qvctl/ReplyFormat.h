#pragma once

#include <string>

#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// One reply as qvctl prints it, always ending in a line break:
//  - Text: the message's bytes with each CR LF as LF, plus "\n" when they do
//    not end in one.
//  - Raw: every byte visible: CR as "\r", LF as "\n" followed by a real line
//    break, a backslash as "\\", other control bytes as "\xHH".
//  - Json: {"fields":[{"name":..,"value":..},...],"body":"<Base64>"} on one
//    line. The fields are the lines up to the first empty line, each cut at its
//    first ": "; a line without ": " is all name with an empty value. Lines end
//    in CR LF only, so a lone CR or LF stays inside a name or value. The body
//    is everything behind the empty line ("" when there is none).
std::string RenderReply(const String& messageText, OutputMode mode);

}  // namespace qv::ctl
