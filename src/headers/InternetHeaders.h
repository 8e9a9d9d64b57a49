#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/String.h"
#include "foundation/TextTable.h"

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
// A parsed block is held once, as the source text: names and values of more
// than 15 bytes are views into it (those of a folded line, which is joined,
// excepted), shorter ones are kept inline, so a line costs its entry's 32
// bytes and an index slot or two beside its own bytes. Parsing is one pass
// over the text.
//
// Several operations keep long-standing quirks on purpose (noted below); the
// HTTP client and the response report depend on this exact behaviour.
class InternetHeaders {
public:
    InternetHeaders() = default;

    // All values of all names.
    std::int32_t Count() const;
    // The key at a position, cut at its first ":". A position outside the
    // table raises OutOfBoundsException, as a Dictionary's Key does.
    String Name(std::int32_t index) const;
    // The value at a position; "" for an index above Count - 1, while a
    // negative index raises OutOfBoundsException as Name does.
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

    // Calls visit(name, value) for each entry in table order, the name cut at
    // its first ":", as views that last while the table is unchanged: the walk
    // that writes a large block's lines without a String for each.
    template <class Visit>
    void ForEachHeader(Visit&& visit) const {
        for (std::int32_t i = 0; i < Count(); ++i) visit(BareName(table_.KeyAt(i).Bytes()), table_.ValueAt(i).Bytes());
    }

    // One "Name: value" line per entry in table order, joined by CR LF with no
    // line end behind the last.
    String _FormatHTTPHeaders() const;
    // The lines of a mail header in its fixed order, joined the same way. BCC
    // is never written.
    String _FormatEmailHeaders() const;

private:
    static std::string_view BareName(std::string_view key);
    void Append(TextRef name, TextRef value);
    // Every change that removes a key goes through here, so the free numbers
    // below stay true. The gaps it leaves are closed by the caller, once.
    void RemoveKey(std::string_view key);
    // Empties the table, which keeps `block` for views into it.
    void Clear(const String& block);

    TextTable table_;
    String source_;
    // Per bare name (case-folded) that was repeated, a number from which the
    // search for the next free "name:n" may start: every lower one is taken.
    // A server that repeats a header 40,000 times then costs linear time, not
    // quadratic.
    std::unordered_map<std::string, std::int32_t> firstMaybeFree_;
};

}  // namespace qv
