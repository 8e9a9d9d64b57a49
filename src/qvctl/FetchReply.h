#pragma once

#include <string>

#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// The reply to get, headers or news, split for its two destinations, so that
// `qvctl get URL > page.html` leaves exactly the page in the file.
struct FetchPrintout {
    // For standard error: the report's lines, without the empty line, as the
    // Text or Raw mode shows a reply; nothing in Json mode.
    std::string lines;
    // For standard output or --output: the body as raw bytes, or in Json mode
    // the whole reply as its JSON line.
    std::string body;
    // A page or news report, whatever HTTP status it carries (a 404 is a page
    // too). The timeout and error reports have no empty line and no body.
    bool delivered = false;
};

FetchPrintout RenderFetchReply(const String& messageText, OutputMode mode);

}  // namespace qv::ctl
