#include "qvctl/JsonText.h"

#include <cstdio>

namespace qv::ctl {

namespace {

// The length of the valid UTF-8 sequence at the front of `bytes`, whose first
// byte is 0x80 or above; 0 when it is not valid (overlong forms and
// surrogates included).
std::size_t ValidSequenceLength(std::string_view bytes) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = at(0);
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (bytes.size() < length || at(1) < low || at(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if (at(i) < 0x80 || at(i) > 0xBF) return 0;
    }
    return length;
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view bytes) {
    out += '"';
    while (!bytes.empty()) {
        const auto c = static_cast<unsigned char>(bytes.front());
        std::size_t taken = 1;
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char escape[7];
            std::snprintf(escape, sizeof escape, "\\u%04X", c);
            out += escape;
        } else if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (const std::size_t length = ValidSequenceLength(bytes); length > 0) {
            out.append(bytes.substr(0, length));
            taken = length;
        } else {
            out += "\\ufffd";
        }
        bytes.remove_prefix(taken);
    }
    out += '"';
}

}  // namespace qv::ctl
