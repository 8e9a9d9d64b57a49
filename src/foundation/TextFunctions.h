#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/NumberText.h"
#include "foundation/String.h"

// The text functions the logic works with, under their system names. The
// numeric ones (Str, Hex, Val, Format) live in NumberText.h and come along with
// this header, so callers include one header for the whole family.
//
// Positions are 1-based. Character functions (Len, Left, Right, Mid, Asc) count
// characters of a UTF-8-marked string and bytes of an unmarked one; LenB and
// MidB always count bytes. In a UTF-8-marked string a character starts at the
// first byte and at every byte that is not a continuation byte (0x80-0xBF), so
// malformed text still has a length and can be cut: nothing here fails.
// Results keep the argument's encoding mark. A position or count outside the
// string gives an empty or shorter result.
//
// Every search (InStr, the field functions, ReplaceAll) ignores ASCII letter
// case, as the system's string equality does, and an empty search text is
// never found.
namespace qv {

std::int32_t Len(const String& text);
std::int32_t LenB(const String& text);

// First `count` characters; the whole string if it is shorter.
String Left(const String& text, std::int32_t count);
// Last `count` characters; the whole string if it is shorter.
String Right(const String& text, std::int32_t count);

// From character `start` to the end, or `length` characters from there. A start
// below 1 counts as 1; a start beyond the end or a length of 0 or less gives "".
String Mid(const String& text, std::int32_t start);
String Mid(const String& text, std::int32_t start, std::int32_t length);
String MidB(const String& bytes, std::int32_t start);
String MidB(const String& bytes, std::int32_t start, std::int32_t length);

// Character position of the first occurrence of `find` at or after character
// `start` (0 and 1 both mean the first), or 0 when there is none. An empty
// `find` gives 0. Linear in the text, whatever its size.
std::int32_t InStr(std::int32_t start, const String& text, const String& find);

// The byte-level search under InStr, for callers that scan a large buffer in
// place: the offset of the first `find` at or after byte `from`, ignoring ASCII
// letter case, or std::string_view::npos (also for an empty `find`).
std::size_t FindIgnoringCase(std::string_view text, std::string_view find, std::size_t from = 0);

// Fields are the texts between separators. A string without a separator,
// including the empty string, is one field; so is every string under an empty
// separator, which never matches.
std::int32_t CountFields(const String& text, const String& separator);
// Field `n`, 1 the first; "" for n below 1 or beyond the last field.
String NthField(const String& text, const String& separator, std::int32_t n);

// Every occurrence replaced, left to right, without rescanning the inserted
// text. An empty `find` leaves the text as it is.
String ReplaceAll(const String& text, const String& find, const String& replacement);

// Leading ASCII white space (space, tab, CR, LF, VT, FF) removed, in place.
std::string_view LTrimBytes(std::string_view bytes);

// Code of the first character, 0 for "". A UTF-8-marked string gives the code
// point; a malformed sequence gives the value of its first byte.
std::int32_t Asc(const String& text);
// Codes below 128 give that byte; larger Unicode code points give their UTF-8
// form, marked UTF-8. Negative codes, surrogates and codes above U+10FFFF give "".
String Chr(std::int32_t code);
// One unmarked byte of that value; codes outside 0..255 give "".
String ChrB(std::int32_t code);

// Marks the bytes as being in `encoding` without changing them.
String DefineEncoding(const String& text, Encoding encoding);

}  // namespace qv
