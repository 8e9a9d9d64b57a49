#include "qvctl/ReplyFormat.h"

#include <cstdio>
#include <string_view>

#include "foundation/Base64.h"
#include "protocol/Reports.h"
#include "qvctl/JsonText.h"

namespace qv::ctl {

namespace {

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

std::string RenderJson(std::string_view bytes) {
    const ReportParts parts = SplitReport(bytes);
    const auto fields = ReportFields(parts.lines);
    std::string out = "{\"fields\":[";
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i > 0) out += ',';
        out += "{\"name\":";
        AppendJsonString(out, fields[i].first);
        out += ",\"value\":";
        AppendJsonString(out, fields[i].second);
        out += '}';
    }
    out += "],\"body\":\"";
    AppendBase64(out, parts.body.value_or(""));
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
    // Lines end in LF, as a shell's tools expect; a lone CR stays.
    std::string out;
    const std::string_view bytes = messageText.Bytes();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\r' || i + 1 == bytes.size() || bytes[i + 1] != '\n') out += bytes[i];
    }
    EndWithLineBreak(out);
    return out;
}

}  // namespace qv::ctl
