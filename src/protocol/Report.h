#pragma once

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace qv {

// A reply cut where its lines end. Page and news reports are lines, an empty
// line and a body of raw bytes that may hold anything, empty lines included;
// every other reply is lines only. Lines end in CR LF only.
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
std::vector<std::pair<std::string_view, std::string_view>> ReportFields(std::string_view lines);

}  // namespace qv
