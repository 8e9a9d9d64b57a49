#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/String.h"
#include "headers/InternetHeaders.h"

namespace qv {

// The assistant's replies, written and read. A report's lines end in CR LF and
// are "Name: value"; page and news reports add an empty line and the body.

// Writing. Each gives the text up to the "HTTPError: " line that RSSSendCommand
// adds (see MessageText), but for the page report, which carries its own.
String StatusReport();
String CopyProgressReport(const String& tag, std::int64_t barPos, const String& message);
// `status`: CopyStatus::Complete or CopyStatus::Abort.
String CopyEndReport(const String& tag, std::string_view status);
// "Response: " and the command, then the HTTPURL line unless the command is
// GetNews: how the page and timeout reports begin.
String FetchReportOpening(const String& command, const String& url);
// The opening, the HTTP status, the literal "HTTPError: 0", one line per
// header in the block's order, an empty line and the body as raw bytes. The
// whole report is one allocation, measured beforehand.
String PageReport(const String& opening, std::int32_t httpStatus, const InternetHeaders* headers,
                  const String& content);
// What a report's frame carries: `text`, with "HTTPError: " and the code
// behind it unless the code is -1. The code 0 shows no digit.
String MessageText(const String& text, std::int32_t errorCode);

// Reading.
// A reply cut where its lines end.
struct ReportParts {
    // The lines before the first empty line, each with its CR LF as it came;
    // the whole text when there is no empty line.
    std::string_view lines;
    // Everything behind the first empty line; none when there is no such line.
    std::optional<std::string_view> body;
};
ReportParts SplitReport(std::string_view text);

// The lines, each cut at its first ": " into name and value; a line without
// one is all name, with an empty value. A last line without CR LF counts.
using ReportField = std::pair<std::string_view, std::string_view>;
std::vector<ReportField> ReportFields(std::string_view lines);
// The value of the first field of that name; none when there is no such field.
std::optional<std::string_view> FieldValue(const std::vector<ReportField>& fields, std::string_view name);

// The status of a copy end report; none for any other reply.
enum class CopyEnd { Complete, Abort };
std::optional<CopyEnd> CopyEndOf(const String& reply);

}  // namespace qv
