#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/Dictionary.h"
#include "foundation/String.h"

namespace qv {

// A line end of a header block, and the blank line that two of it make.
struct LineEnd {
    std::string_view once;
    std::string_view twice;
};
inline constexpr LineEnd kCRLF{"\r\n", "\r\n\r\n"};
inline constexpr LineEnd kLF{"\n", "\n\n"};
inline constexpr LineEnd kCR{"\r", "\r\r"};

// One block of message headers: the headers of an HTTP request being composed,
// or of a response received.
//
// Repeated names are not a list. The first value of a name is stored under the
// key "Name", the next under "Name:1", then "Name:2" and so on, so a name can
// hold no ":" and everything that shows a name cuts the key at its first ":".
// Keys ignore letter case, as the Dictionary's do. A position (0 to Count - 1)
// is the table's insertion order; the values of one name need not be adjacent.
//
// Several operations keep long-standing quirks on purpose (noted below); the
// HTTP client and the response report depend on this exact behaviour.
class InternetHeaders {
public:
    InternetHeaders() = default;

    // All values of all names.
    std::int32_t Count() const;
    // The key at a position, cut at its first ":". No check of its own: a
    // position outside the table raises the Dictionary's OutOfBoundsException.
    String Name(std::int32_t index) const;
    // The value at a position; "" for an index above Count - 1, while a negative
    // index goes to the Dictionary unchecked and raises there.
    String Value(std::int32_t index) const;

    // 0 when the key `name` is absent; otherwise the first n from 1 for which
    // "name:n" is absent, so a gap left by SetHeader with an index ends the count.
    std::int32_t NameCount(const String& name) const;
    String Value(const String& name) const;
    // Key `name` for an index below 1, otherwise "name:index"; "" when absent,
    // so an empty value cannot be told from a missing one.
    String Value(const String& name, std::int32_t index) const;
    // The values of indexes 0 to NameCount - 1, joined by ", ".
    String CommaSeparatedValues(const String& name) const;

    // Stores the value under the first free key of "name", "name:1", ...
    void AppendHeader(const String& name, const String& value);
    // Makes `value` the only value of `name`.
    void SetHeader(const String& name, const String& value);
    // Sets the value of one index: 0 is the bare name and any other index, a
    // negative one too, a suffix. An index beyond the end leaves a gap.
    void SetHeader(const String& name, const String& value, std::int32_t index);
    // Removes the values of NameCount; values behind a gap stay.
    void Delete(const String& name);
    // Removes one value (index 0 the bare name) and moves the later ones down.
    void Delete(const String& name, std::int32_t index);
    // Empties the table and leaves the source text alone.
    void DeleteAllHeaders();

    // The text last given to _ParseHeaders, whatever was changed since; when
    // there is none, the table written as _FormatHTTPHeaders writes it.
    String Source() const;

    // Replaces the table by the headers in `text`: folded lines are unfolded,
    // lines without a ":" (a status line, blank lines) are passed over, and a
    // blank line does not end the parse.
    void _ParseHeaders(const String& text);
    // CR LF if the text holds that pair anywhere, else LF, else CR, else CR LF.
    static String _DetermineEOLCharacter(const String& text);
    // The same choice, for a caller that looks at raw bytes many times.
    static const LineEnd& LineEndOf(std::string_view text);

    // One "Name: value" line per entry in table order, joined by CR LF with no
    // line end behind the last.
    String _FormatHTTPHeaders() const;
    // The lines of a mail header in its fixed order, joined the same way. BCC
    // is never written.
    String _FormatEmailHeaders() const;

private:
    // Every change that removes a key goes through here, so the free numbers
    // below stay true.
    void RemoveKey(const String& key);
    void Clear();

    Dictionary table_;
    String source_;
    // Per bare name (case-folded), a number from which the search for the next
    // free "name:n" may start: every lower one is taken. A server that repeats
    // a header 40,000 times then costs linear time, not quadratic.
    std::unordered_map<std::string, std::int32_t> firstMaybeFree_;
};

}  // namespace qv
