// Header parsing takes arbitrary bytes, and every reading operation on the
// table it makes stays within bounds and agrees with the others.
//
// Input: the whole input is the header text.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "foundation/Exceptions.h"
#include "foundation/TextFunctions.h"
#include "headers/InternetHeaders.h"

namespace {

void Check(bool holds) {
    if (!holds) __builtin_trap();
}

bool Contains(const qv::String& text, const qv::String& find) {
    return qv::InStr(1, text, find) > 0;
}

std::string Folded(std::string_view bytes) {
    std::string folded(bytes);
    for (char& c : folded) c = qv::FoldCase(c);
    return folded;
}

// Walks the table by position until Name raises, and checks each entry. Gives
// the names met, folded, as the table compares them.
std::set<std::string> WalkByPosition(const qv::InternetHeaders& headers, const qv::String& eol) {
    std::set<std::string> names;
    std::int32_t walked = 0;
    for (;; ++walked) {
        qv::String name;
        try {
            name = headers.Name(walked);
        } catch (const qv::OutOfBoundsException&) {
            break;
        }
        const qv::String value = headers.Value(walked);
        Check(!Contains(name, ":"));
        Check(!Contains(name, eol) && !Contains(value, eol));
        // Values lose their leading white space, names keep theirs.
        Check(qv::LTrimBytes(value.Bytes()).size() == value.Size());
        names.insert(Folded(name.Bytes()));
    }
    Check(walked == headers.Count());
    Check(headers.Value(walked).IsEmpty());
    return names;
}

// Parsing leaves no gap, so the values of each name, counted by name, make up
// the whole table.
void CheckByName(const qv::InternetHeaders& headers, const std::set<std::string>& names) {
    std::int64_t total = 0;
    for (const std::string& folded : names) {
        const qv::String name(folded);
        const std::int32_t count = headers.NameCount(name);
        Check(count >= 1);
        std::size_t joinedSize = 0;
        for (std::int32_t index = 0; index < count; ++index) joinedSize += headers.Value(name, index).Size();
        joinedSize += 2 * static_cast<std::size_t>(count - 1);
        Check(headers.CommaSeparatedValues(name).Size() == joinedSize);
        Check(headers.Value(name).Bytes() == headers.Value(name, -1).Bytes());
        Check(headers.Value(name, count).IsEmpty());
        total += count;
    }
    Check(total == headers.Count());
}

// No parsed name or value holds CR LF: the line end is CR LF whenever the text
// holds one, and then all of them are cut out. So the HTTP form has exactly one
// line per entry.
void CheckFormatters(const qv::InternetHeaders& headers) {
    const qv::String http = headers._FormatHTTPHeaders();
    if (headers.Count() == 0) {
        Check(http.IsEmpty());
    } else {
        Check(qv::CountFields(http, "\r\n") == headers.Count());
    }

    const qv::String email = headers._FormatEmailHeaders();
    Check(email.IsEmpty() || qv::CountFields(email, "\r\n") <= headers.Count());
    Check(!qv::SameText(qv::Left(email, 5), "BCC: ") && !Contains(email, "\r\nBCC: "));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qv::String text(std::string_view(reinterpret_cast<const char*>(data), size));
    qv::InternetHeaders headers;
    headers._ParseHeaders(text);

    const qv::String eol = qv::InternetHeaders::_DetermineEOLCharacter(text);
    CheckByName(headers, WalkByPosition(headers, eol));
    CheckFormatters(headers);
    Check(headers.Source().Bytes() == text.Bytes());
    return 0;
}
