#include "protocol/Report.h"

namespace qv {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kNameEnd = ": ";

}  // namespace

ReportParts SplitReport(std::string_view text) {
    // An empty first line leaves no line end in front of it to search for.
    if (text.starts_with(kLineEnd)) return {text.substr(0, 0), text.substr(kLineEnd.size())};
    const auto emptyLine = text.find("\r\n\r\n");
    if (emptyLine == std::string_view::npos) return {text, std::nullopt};
    return {text.substr(0, emptyLine + kLineEnd.size()), text.substr(emptyLine + 2 * kLineEnd.size())};
}

std::vector<std::pair<std::string_view, std::string_view>> ReportFields(std::string_view lines) {
    std::vector<std::pair<std::string_view, std::string_view>> fields;
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

}  // namespace qv
