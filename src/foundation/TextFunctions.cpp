#include "foundation/TextFunctions.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qv {

namespace {

constexpr std::size_t kNotFound = std::string_view::npos;
constexpr std::size_t kToEnd = SIZE_MAX;

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

bool IsSurrogate(std::int32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

bool CountsCharacters(const String& text) {
    return text.GetEncoding() == Encoding::UTF8;
}

std::int32_t ToInt32(std::size_t count) {
    return static_cast<std::int32_t>(std::min<std::size_t>(count, INT32_MAX));
}

// A count of characters; below 0 means none.
std::size_t NonNegative(std::int32_t count) {
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

// A 1-based position as a count of characters to skip.
std::size_t Skipped(std::int32_t start) {
    return start > 1 ? static_cast<std::size_t>(start) - 1 : 0;
}

std::size_t CountCharacters(std::string_view bytes) {
    if (bytes.empty()) return 0;
    return 1 + static_cast<std::size_t>(
                   std::count_if(bytes.begin() + 1, bytes.end(), [](char c) { return !IsContinuation(c); }));
}

// Byte offset `count` characters (or bytes) after `from`, at most the end.
std::size_t SkipForward(std::string_view bytes, bool characters, std::size_t from, std::size_t count) {
    if (!characters) return count >= bytes.size() - from ? bytes.size() : from + count;
    std::size_t at = from;
    for (; count > 0 && at < bytes.size(); --count) {
        ++at;
        while (at < bytes.size() && IsContinuation(bytes[at])) ++at;
    }
    return at;
}

// Byte offset where the last `count` characters (or bytes) begin.
std::size_t SkipBackward(std::string_view bytes, bool characters, std::size_t count) {
    if (!characters) return count >= bytes.size() ? 0 : bytes.size() - count;
    std::size_t at = bytes.size();
    for (; count > 0 && at > 0; --count) {
        --at;
        while (at > 0 && IsContinuation(bytes[at])) --at;
    }
    return at;
}

// The bytes between two offsets under the text's mark; the whole text keeps its storage.
String Slice(const String& text, std::size_t from, std::size_t to) {
    if (from == 0 && to == text.Size()) return text;
    return String(text.Bytes().substr(from, to - from), text.GetEncoding());
}

String Cut(const String& text, bool characters, std::int32_t start, std::size_t length) {
    const std::string_view bytes = text.Bytes();
    const std::size_t from = SkipForward(bytes, characters, 0, Skipped(start));
    return Slice(text, from, SkipForward(bytes, characters, from, length));
}

// Calls visit(from, to) with the byte range of each field in order, until it
// returns false or the last field has been visited.
template <class Visit>
void ForEachField(std::string_view text, std::string_view separator, Visit visit) {
    for (std::size_t from = 0;;) {
        const std::size_t at = FindIgnoringCase(text, separator, from);
        if (!visit(from, at == kNotFound ? text.size() : at) || at == kNotFound) return;
        from = at + separator.size();
    }
}

// The code point of a well-formed UTF-8 sequence at the start of `bytes`.
std::optional<std::int32_t> DecodeFirst(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) return lead;
    const std::size_t length = lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
    if (length == 0 || bytes.size() < length) return std::nullopt;
    static constexpr std::int32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    std::int32_t code = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(bytes[i])) return std::nullopt;
        code = (code << 6) | (static_cast<unsigned char>(bytes[i]) & 0x3F);
    }
    // Overlong forms, surrogates and codes beyond Unicode are malformed too.
    if (code < kLeast[length] || code > 0x10FFFF || IsSurrogate(code)) return std::nullopt;
    return code;
}

}  // namespace

// Byte offset of the first occurrence of `find` at or after `from`, ignoring
// ASCII letter case; kNotFound when there is none or `find` is empty. memchr
// scans for each case of the first byte and only its hits are compared, so the
// cost stays linear in the text for the short search texts the system uses, and
// nothing is allocated.
std::size_t FindIgnoringCase(std::string_view text, std::string_view find, std::size_t from) {
    if (find.empty() || find.size() > text.size() || from > text.size() - find.size()) return kNotFound;
    const char* const limit = text.data() + (text.size() - find.size() + 1);
    const auto next = [limit](const char* at, char c) {
        const void* hit = std::memchr(at, c, static_cast<std::size_t>(limit - at));
        return hit ? static_cast<const char*>(hit) : limit;
    };
    const char lower = FoldCase(find[0]);
    const char upper = (lower >= 'a' && lower <= 'z') ? static_cast<char>(lower - 'a' + 'A') : lower;
    const std::string_view rest = find.substr(1);
    const char* atLower = next(text.data() + from, lower);
    const char* atUpper = upper == lower ? limit : next(text.data() + from, upper);
    for (;;) {
        const char* candidate = std::min(atLower, atUpper);
        if (candidate == limit) return kNotFound;
        if (EqualIgnoringCase(std::string_view(candidate + 1, rest.size()), rest)) {
            return static_cast<std::size_t>(candidate - text.data());
        }
        if (candidate == atLower) {
            atLower = next(candidate + 1, lower);
        } else {
            atUpper = next(candidate + 1, upper);
        }
    }
}

std::int32_t Len(const String& text) {
    return ToInt32(CountsCharacters(text) ? CountCharacters(text.Bytes()) : text.Size());
}

std::int32_t LenB(const String& text) {
    return ToInt32(text.Size());
}

String Left(const String& text, std::int32_t count) {
    return Slice(text, 0, SkipForward(text.Bytes(), CountsCharacters(text), 0, NonNegative(count)));
}

String Right(const String& text, std::int32_t count) {
    return Slice(text, SkipBackward(text.Bytes(), CountsCharacters(text), NonNegative(count)), text.Size());
}

String Mid(const String& text, std::int32_t start) {
    return Cut(text, CountsCharacters(text), start, kToEnd);
}

String Mid(const String& text, std::int32_t start, std::int32_t length) {
    return Cut(text, CountsCharacters(text), start, NonNegative(length));
}

String MidB(const String& bytes, std::int32_t start) {
    return Cut(bytes, false, start, kToEnd);
}

String MidB(const String& bytes, std::int32_t start, std::int32_t length) {
    return Cut(bytes, false, start, NonNegative(length));
}

std::int32_t InStr(std::int32_t start, const String& text, const String& find) {
    const std::string_view bytes = text.Bytes();
    const bool characters = CountsCharacters(text);
    const std::size_t at = FindIgnoringCase(bytes, find.Bytes(), SkipForward(bytes, characters, 0, Skipped(start)));
    if (at == kNotFound) return 0;
    // The character that holds the match's first byte.
    return ToInt32(characters ? CountCharacters(bytes.substr(0, at + 1)) : at + 1);
}

std::int32_t CountFields(const String& text, const String& separator) {
    std::int32_t count = 0;
    ForEachField(text.Bytes(), separator.Bytes(), [&count](std::size_t, std::size_t) {
        ++count;
        return true;
    });
    return count;
}

String NthField(const String& text, const String& separator, std::int32_t n) {
    String field(std::string_view(), text.GetEncoding());
    std::int32_t index = 0;
    ForEachField(text.Bytes(), separator.Bytes(), [&](std::size_t from, std::size_t to) {
        if (++index < n) return true;
        if (index == n) field = Slice(text, from, to);
        return false;
    });
    return field;
}

String ReplaceAll(const String& text, const String& find, const String& replacement) {
    const std::string_view bytes = text.Bytes();
    std::size_t at = FindIgnoringCase(bytes, find.Bytes(), 0);
    if (at == kNotFound) return text;
    StringBuilder result;
    std::size_t from = 0;
    for (; at != kNotFound; at = FindIgnoringCase(bytes, find.Bytes(), from)) {
        result.Append(bytes.substr(from, at - from));
        result.Append(replacement);
        from = at + find.Size();
    }
    result.Append(bytes.substr(from));
    return result.Take(text.GetEncoding());
}

std::string_view LTrimBytes(std::string_view bytes) {
    const std::size_t first = bytes.find_first_not_of(" \t\r\n\v\f");
    return bytes.substr(first == kNotFound ? bytes.size() : first);
}

std::int32_t Asc(const String& text) {
    const std::string_view bytes = text.Bytes();
    if (bytes.empty()) return 0;
    const std::int32_t firstByte = static_cast<unsigned char>(bytes[0]);
    return CountsCharacters(text) ? DecodeFirst(bytes).value_or(firstByte) : firstByte;
}

String Chr(std::int32_t code) {
    if (code < 0 || code > 0x10FFFF || IsSurrogate(code)) return String();
    if (code < 0x80) return ChrB(code);
    static constexpr unsigned char kLeadBits[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const std::size_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    std::string bytes(length, '\0');
    for (std::size_t i = length - 1; i > 0; --i, code >>= 6) {
        bytes[i] = static_cast<char>(0x80 | (code & 0x3F));
    }
    bytes[0] = static_cast<char>(kLeadBits[length] | code);
    return String(std::move(bytes), Encoding::UTF8);
}

String ChrB(std::int32_t code) {
    if (code < 0 || code > 0xFF) return String();
    const char byte = static_cast<char>(code);
    return String(std::string_view(&byte, 1));
}

String DefineEncoding(const String& text, Encoding encoding) {
    return text.WithEncoding(encoding);
}

}  // namespace qv
