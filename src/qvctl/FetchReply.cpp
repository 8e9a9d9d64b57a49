#include "qvctl/FetchReply.h"

#include <algorithm>

#include "protocol/Report.h"
#include "qvctl/ReplyFormat.h"

namespace qv::ctl {

FetchPrintout RenderFetchReply(const String& messageText, OutputMode mode) {
    const ReportParts parts = SplitReport(messageText.Bytes());
    const auto fields = ReportFields(parts.lines);
    const auto firstError =
        std::ranges::find(fields, "HTTPError", [](const auto& field) { return field.first; });
    FetchPrintout printout;
    printout.delivered = parts.body && firstError != fields.end() && firstError->second == "0";
    if (mode == OutputMode::Json) {
        printout.body = RenderReply(messageText, mode);
    } else {
        printout.lines = RenderReply(parts.lines, mode);
        printout.body = parts.body.value_or("");
    }
    return printout;
}

}  // namespace qv::ctl
