#include "protocol/Reports.h"

#include <algorithm>

#include "foundation/TextFunctions.h"
#include "protocol/Vocabulary.h"

namespace qv {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kNameEnd = ": ";

// "Name: value" and a line end.
void AppendLine(StringBuilder& text, std::string_view name, std::string_view value) {
    text.Append(name);
    text.Append(kNameEnd);
    text.Append(value);
    text.Append(kLineEnd);
}

String Lines(std::initializer_list<ReportField> fields) {
    StringBuilder text;
    for (const auto& [name, value] : fields) AppendLine(text, name, value);
    return text.Take();
}

}  // namespace

String StatusReport() {
    return Lines({{FieldName::Response, CommandWord::Status}, {FieldName::Status, "Ready"}});
}

String CopyProgressReport(const String& tag, std::int64_t barPos, const String& message) {
    return Lines({{FieldName::Response, CommandWord::CopyFile},
                  {FieldName::SrcFileInfoMD5, tag.Bytes()},
                  {FieldName::Status, CopyStatus::InProgress},
                  {FieldName::BarPos, Format(barPos, "#").Bytes()},
                  {FieldName::MsgStr, message.Bytes()}});
}

String CopyEndReport(const String& tag, std::string_view status) {
    return Lines({{FieldName::Response, CommandWord::CopyFile},
                  {FieldName::SrcFileInfoMD5, tag.Bytes()},
                  {FieldName::Status, status}});
}

String FetchReportOpening(const String& command, const String& url) {
    if (SameText(command, CommandWord::GetNews)) return Lines({{FieldName::Response, CommandWord::GetNews}});
    return Lines({{FieldName::Response, command.Bytes()}, {FieldName::HTTPURL, url.Bytes()}});
}

String PageReport(const String& opening, std::int32_t httpStatus, const InternetHeaders* headers,
                  const String& content) {
    const String status = Format(httpStatus, "#");
    std::size_t size = opening.Size() + FieldName::HTTPStatus.size() + kNameEnd.size() + status.Size() +
                       kLineEnd.size() + std::string_view("HTTPError: 0\r\n").size() + kLineEnd.size() +
                       content.Size();
    if (headers) {
        headers->ForEachHeader([&](std::string_view name, std::string_view value) {
            size += name.size() + kNameEnd.size() + value.size() + kLineEnd.size();
        });
    }
    StringBuilder report;
    report.Reserve(size);
    report.Append(opening);
    AppendLine(report, FieldName::HTTPStatus, status.Bytes());
    AppendLine(report, FieldName::HTTPError, "0");  // a literal: the fetch went well, whatever the status
    if (headers) {
        headers->ForEachHeader(
            [&](std::string_view name, std::string_view value) { AppendLine(report, name, value); });
    }
    report.Append(kLineEnd);
    report.Append(content);
    return report.Take();
}

String MessageText(const String& text, std::int32_t errorCode) {
    if (errorCode == -1) return text;
    StringBuilder message;
    message.Append(text);
    AppendLine(message, FieldName::HTTPError, Format(errorCode, "#").Bytes());
    return message.Take(text.GetEncoding());
}

ReportParts SplitReport(std::string_view text) {
    // An empty first line leaves no line end in front of it to search for.
    if (text.starts_with(kLineEnd)) return {text.substr(0, 0), text.substr(kLineEnd.size())};
    const auto emptyLine = text.find("\r\n\r\n");
    if (emptyLine == std::string_view::npos) return {text, std::nullopt};
    return {text.substr(0, emptyLine + kLineEnd.size()), text.substr(emptyLine + 2 * kLineEnd.size())};
}

std::vector<ReportField> ReportFields(std::string_view lines) {
    std::vector<ReportField> fields;
    while (!lines.empty()) {
        const auto lineEnd = lines.find(kLineEnd);
        const std::string_view line = lines.substr(0, lineEnd);
        lines.remove_prefix(lineEnd == std::string_view::npos ? lines.size() : lineEnd + kLineEnd.size());
        const auto nameEnd = line.find(kNameEnd);
        if (nameEnd == std::string_view::npos) {
            fields.emplace_back(line, std::string_view());
        } else {
            fields.emplace_back(line.substr(0, nameEnd), line.substr(nameEnd + kNameEnd.size()));
        }
    }
    return fields;
}

std::optional<std::string_view> FieldValue(const std::vector<ReportField>& fields, std::string_view name) {
    const auto field = std::ranges::find(fields, name, &ReportField::first);
    if (field == fields.end()) return std::nullopt;
    return field->second;
}

std::optional<CopyEnd> CopyEndOf(const String& reply) {
    const auto fields = ReportFields(SplitReport(reply.Bytes()).lines);
    if (fields.empty() || fields.front() != ReportField(FieldName::Response, CommandWord::CopyFile))
        return std::nullopt;
    const auto status = FieldValue(fields, FieldName::Status);
    if (status == CopyStatus::Complete) return CopyEnd::Complete;
    if (status == CopyStatus::Abort) return CopyEnd::Abort;
    return std::nullopt;
}

}  // namespace qv
