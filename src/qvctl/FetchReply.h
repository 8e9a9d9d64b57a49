#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "foundation/String.h"
#include "qvctl/Options.h"

namespace qv::ctl {

// The reply to get, headers or news, split for its two destinations, so that
// `qvctl get URL > page.html` leaves exactly the page in the file.
struct FetchPrintout {
    // The report's lines, without the empty line, as the Text or Raw mode
    // shows a reply; nothing in Json mode.
    std::string lines;
    // The body as raw bytes, or in Json mode the whole reply as its JSON line.
    std::string body;
    // A page or news report, whatever HTTP status it carries (a 404 is a page
    // too). The timeout and error reports have no empty line and no body.
    bool delivered = false;
};

FetchPrintout RenderFetchReply(const String& messageText, OutputMode mode);

// The codes of the timeout and error reports ("HTTPError: CODE") and what
// they mean, for the message and the manual page.
struct FetchErrorInfo {
    std::int32_t code;
    std::string_view meaning;
};
std::span<const FetchErrorInfo> FetchErrorTable();

// What qvctl says of a reply that is not delivered: the code in words.
std::string FetchFailureMessage(const String& messageText, std::string_view url);

}  // namespace qv::ctl
