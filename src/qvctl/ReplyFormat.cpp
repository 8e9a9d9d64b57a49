#include "qvctl/ReplyFormat.h"

#include <cstdio>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Base64.h"
#include "qvctl/JsonText.h"

namespace qv::ctl {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kNameEnd = ": ";

void EndWithLineBreak(std::string& out) {
    if (out.empty() || out.back() != '\n') out += '\n';
}

std::string RenderRaw(std::string_view bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\r') {
            out += "\\r";
        } else if (c == '\n') {
            out += "\\n\n";
        } else if (c == '\\') {
            out += "\\\\";
        } else if (byte < 0x20 || byte == 0x7F) {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02X", byte);
            out += escape;
        } else {
            out += c;
        }
    }
    EndWithLineBreak(out);
    return out;
}

struct ReplyParts {
    std::vector<std::pair<std::string_view, std::string_view>> fields;
    std::string_view body;
};

ReplyParts SplitReply(std::string_view text) {
    ReplyParts parts;
    while (!text.empty()) {
        const auto lineEnd = text.find(kLineEnd);
        const std::string_view line = text.substr(0, lineEnd);
        text.remove_prefix(lineEnd == std::string_view::npos ? text.size() : lineEnd + kLineEnd.size());
        if (line.empty()) {
            parts.body = text;
            break;
        }
        const auto nameEnd = line.find(kNameEnd);
        if (nameEnd == std::string_view::npos) {
            parts.fields.emplace_back(line, std::string_view());
        } else {
            parts.fields.emplace_back(line.substr(0, nameEnd), line.substr(nameEnd + kNameEnd.size()));
        }
    }
    return parts;
}

std::string RenderJson(std::string_view bytes) {
    const ReplyParts parts = SplitReply(bytes);
    std::string out = "{\"fields\":[";
    for (std::size_t i = 0; i < parts.fields.size(); ++i) {
        if (i > 0) out += ',';
        out += "{\"name\":";
        AppendJsonString(out, parts.fields[i].first);
        out += ",\"value\":";
        AppendJsonString(out, parts.fields[i].second);
        out += '}';
    }
    out += "],\"body\":\"";
    AppendBase64(out, parts.body);
    out += "\"}\n";
    return out;
}

}  // namespace

std::string RenderReply(const String& messageText, OutputMode mode) {
    switch (mode) {
        case OutputMode::Raw:
            return RenderRaw(messageText.Bytes());
        case OutputMode::Json:
            return RenderJson(messageText.Bytes());
        case OutputMode::Text:
            break;
    }
    std::string out(messageText.Bytes());
    EndWithLineBreak(out);
    return out;
}

}  // namespace qv::ctl
