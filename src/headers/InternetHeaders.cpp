#include "headers/InternetHeaders.h"

#include <limits>

#include "foundation/TextFunctions.h"

namespace qv {

namespace {

// The key of the value with index n of a name.
String SuffixedKey(const String& name, std::int32_t n) {
    return name + ":" + Str(n);
}

// Setting and deleting by index take only 0 as the bare name, unlike reading,
// which takes everything below 1: deliberate, so a negative index makes a key
// such as "Name:-1".
String KeyAt(const String& name, std::int32_t index) {
    return index == 0 ? name : SuffixedKey(name, index);
}

String BareName(const String& key) {
    return NthField(key, ":", 1);
}

std::string Folded(const String& name) {
    std::string folded(name.Bytes());
    for (char& c : folded) c = FoldCase(c);
    return folded;
}

}  // namespace

std::int32_t InternetHeaders::Count() const {
    return table_.Count();
}

String InternetHeaders::Name(std::int32_t index) const {
    return BareName(table_.Key(index));
}

String InternetHeaders::Value(std::int32_t index) const {
    if (index > Count() - 1) return String();
    return table_.Value(table_.Key(index));
}

std::int32_t InternetHeaders::NameCount(const String& name) const {
    if (!table_.HasKey(name)) return 0;
    std::int32_t count = 1;
    while (table_.HasKey(SuffixedKey(name, count))) ++count;
    return count;
}

String InternetHeaders::Value(const String& name) const {
    return Value(name, 0);
}

String InternetHeaders::Value(const String& name, std::int32_t index) const {
    return table_.Lookup(index < 1 ? name : SuffixedKey(name, index), String());
}

String InternetHeaders::CommaSeparatedValues(const String& name) const {
    StringBuilder joined;
    const std::int32_t count = NameCount(name);
    for (std::int32_t index = 0; index < count; ++index) {
        if (index > 0) joined.Append(", ");
        joined.Append(Value(name, index));
    }
    return joined.Take();
}

void InternetHeaders::AppendHeader(const String& name, const String& value) {
    if (!table_.HasKey(name)) {
        table_.SetValue(name, value);
        return;
    }
    const String bare = BareName(name);
    std::int32_t& counter = firstMaybeFree_.try_emplace(Folded(bare), 1).first->second;
    while (table_.HasKey(SuffixedKey(bare, counter))) ++counter;
    table_.SetValue(SuffixedKey(bare, counter++), value);
}

void InternetHeaders::SetHeader(const String& name, const String& value) {
    if (NameCount(name) >= 2) Delete(name);
    table_.SetValue(name, value);
}

void InternetHeaders::SetHeader(const String& name, const String& value, std::int32_t index) {
    // A free key is taken as it stands: an index beyond the end leaves a gap that
    // NameCount stops at, and the values behind it are reached only by position.
    table_.SetValue(KeyAt(name, index), value);
}

void InternetHeaders::Delete(const String& name) {
    const std::int32_t count = NameCount(name);
    if (count == 0) return;
    RemoveKey(name);
    for (std::int32_t index = 1; index < count; ++index) RemoveKey(SuffixedKey(name, index));
}

void InternetHeaders::Delete(const String& name, std::int32_t index) {
    const String key = KeyAt(name, index);
    if (!table_.HasKey(key)) return;
    RemoveKey(key);
    // Each later value moves down into the index just freed, up to the first
    // absent one. The bound only keeps `freed + 1` from overflowing.
    for (std::int32_t freed = index; freed < std::numeric_limits<std::int32_t>::max(); ++freed) {
        const String next = SuffixedKey(name, freed + 1);
        if (!table_.HasKey(next)) break;
        table_.SetValue(KeyAt(name, freed), table_.Value(next));
        RemoveKey(next);
    }
}

void InternetHeaders::DeleteAllHeaders() {
    Clear();
}

void InternetHeaders::RemoveKey(const String& key) {
    table_.Remove(key);
    firstMaybeFree_.erase(Folded(BareName(key)));  // the number just freed may be lower
}

void InternetHeaders::Clear() {
    table_ = Dictionary();
    firstMaybeFree_.clear();
}

String InternetHeaders::Source() const {
    return source_.IsEmpty() ? _FormatHTTPHeaders() : source_;
}

void InternetHeaders::_ParseHeaders(const String& text) {
    source_ = text;
    const String eol = _DetermineEOLCharacter(text);
    Clear();
    const String unfolded = ReplaceAll(ReplaceAll(text, eol + " ", " "), eol + Chr(9), " ");
    for (const String& line : Split(unfolded, eol)) {
        const std::int32_t colon = InStr(1, line, ":");
        // A status line, a blank line or junk; the lines behind a blank one are read too.
        if (colon == 0) continue;
        AppendHeader(BareName(line), LTrim(Mid(line, colon + 1)));
    }
}

String InternetHeaders::_DetermineEOLCharacter(const String& text) {
    return String(LineEndOf(text.Bytes()).once);
}

const LineEnd& InternetHeaders::LineEndOf(std::string_view text) {
    for (const LineEnd* end : {&kCRLF, &kLF, &kCR}) {
        if (text.find(end->once) != std::string_view::npos) return *end;
    }
    return kCRLF;
}

}  // namespace qv
