#include "qvctl/FetchReply.h"

#include <algorithm>

#include "foundation/SocketErrors.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "qvctl/ReplyFormat.h"

namespace qv::ctl {

namespace {

// The first HTTPError line is the assistant's; a server's own header of that
// name comes behind it.
std::string_view ErrorCode(const std::vector<ReportField>& fields) {
    return FieldValue(fields, FieldName::HTTPError).value_or("none");
}

}  // namespace

FetchPrintout RenderFetchReply(const String& messageText, OutputMode mode) {
    const ReportParts parts = SplitReport(messageText.Bytes());
    FetchPrintout printout;
    printout.delivered = parts.body && ErrorCode(ReportFields(parts.lines)) == "0";
    if (mode == OutputMode::Json) {
        printout.body = RenderReply(messageText, mode);
    } else {
        printout.lines = RenderReply(parts.lines, mode);
        printout.body = parts.body.value_or("");
    }
    return printout;
}

std::span<const FetchErrorInfo> FetchErrorTable() {
    static constexpr FetchErrorInfo errors[] = {
        {1, "no answer within the assistant's limit of 60 s (a timeout)"},
        {SocketError::Other, "the connection failed for another reason"},
        {SocketError::LostConnection, "connection refused, reset or lost, or the host unreachable"},
        {SocketError::NameNotResolved, "host name not found"},
        {SocketError::AddressInUse, "address in use"},
        {SocketError::InvalidState, "the socket could not do this then"},
        {SocketError::InvalidPort, "invalid port: not from 1 to 65535"},
        {SocketError::OutOfResources, "out of resources (memory, descriptors)"},
    };
    return errors;
}

std::string FetchFailureMessage(const String& messageText, std::string_view url) {
    const std::string_view code = ErrorCode(ReportFields(SplitReport(messageText.Bytes()).lines));
    const auto errors = FetchErrorTable();
    const auto known =
        std::ranges::find_if(errors, [&](const FetchErrorInfo& e) { return std::to_string(e.code) == code; });
    return "qvctl: the assistant could not fetch " + std::string(url) + "\n  HTTPError " + std::string(code) +
           ": " + std::string(known == errors.end() ? "an unknown code" : known->meaning) + "\n";
}

}  // namespace qv::ctl
