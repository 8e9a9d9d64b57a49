#include "headers/InternetHeaders.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "foundation/TextFunctions.h"

namespace qv {

namespace {

// The key of the value with index n of a name.
std::string SuffixedKey(std::string_view name, std::int32_t n) {
    char digits[12];
    const std::string_view number(digits, static_cast<std::size_t>(std::to_chars(digits, std::end(digits), n).ptr - digits));
    std::string key;
    key.reserve(name.size() + 1 + number.size());
    key.append(name).append(1, ':').append(number);
    return key;
}

// Setting and deleting by index take only 0 as the bare name, unlike reading,
// which takes everything below 1: deliberate, so a negative index makes a key
// such as "Name:-1".
std::string KeyAt(std::string_view name, std::int32_t index) {
    return index == 0 ? std::string(name) : SuffixedKey(name, index);
}

std::string Folded(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) c = FoldCase(c);
    return folded;
}

// Calls take(line) for each line of `text`, a line end followed by a space or
// a tab joining the next line on with one space, as unfolding replaces them.
// A line that was joined is made in a buffer; every other one is a view into
// `text`, so a block without folded lines is never copied.
template <class Take>
void ForEachUnfoldedLine(std::string_view text, std::string_view eol, Take take) {
    std::string joined;
    std::size_t lineStart = 0;
    std::size_t pieceStart = 0;  // where the part of the line behind its last fold starts
    bool folded = false;
    for (;;) {
        const std::size_t at = text.find(eol, pieceStart);
        const std::size_t behind = at == std::string_view::npos ? text.size() : at + eol.size();
        if (behind < text.size() && (text[behind] == ' ' || text[behind] == '\t')) {
            if (!folded) joined.clear();
            joined.append(text.substr(pieceStart, at - pieceStart)).append(1, ' ');
            folded = true;
            pieceStart = behind + 1;
            continue;
        }
        const std::size_t end = std::min(at, text.size());
        if (folded) {
            take(std::string_view(joined.append(text.substr(pieceStart, end - pieceStart))));
        } else {
            take(text.substr(lineStart, end - lineStart));
        }
        if (at == std::string_view::npos) return;
        lineStart = pieceStart = behind;
        folded = false;
    }
}

}  // namespace

std::string_view InternetHeaders::BareName(std::string_view key) {
    return key.substr(0, key.find(':'));
}

std::int32_t InternetHeaders::Count() const {
    return table_.Count();
}

String InternetHeaders::Name(std::int32_t index) const {
    const CompactText& key = table_.KeyAt(index);
    return String(BareName(key.Bytes()), key.GetEncoding());
}

String InternetHeaders::Value(std::int32_t index) const {
    if (index > Count() - 1) return String();
    return table_.ValueAt(index).ToString();
}

std::int32_t InternetHeaders::NameCount(const String& name) const {
    if (!table_.Find(name.Bytes())) return 0;
    std::int32_t count = 1;
    while (table_.Find(SuffixedKey(name.Bytes(), count))) ++count;
    return count;
}

String InternetHeaders::Value(const String& name) const {
    return Value(name, 0);
}

String InternetHeaders::Value(const String& name, std::int32_t index) const {
    const CompactText* value = table_.Find(index < 1 ? std::string(name.Bytes()) : SuffixedKey(name.Bytes(), index));
    return value ? value->ToString() : String();
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
    Append(name, value);
}

void InternetHeaders::Append(TextRef name, TextRef value) {
    if (table_.Add(name, value)) return;
    const std::string_view bare = BareName(name.bytes);
    std::int32_t& counter = firstMaybeFree_.try_emplace(Folded(bare), 1).first->second;
    while (!table_.Add({SuffixedKey(bare, counter), name.encoding}, value)) ++counter;
    ++counter;
}

void InternetHeaders::SetHeader(const String& name, const String& value) {
    if (NameCount(name) >= 2) Delete(name);
    table_.Set(name, value);
}

void InternetHeaders::SetHeader(const String& name, const String& value, std::int32_t index) {
    // A free key is taken as it stands: an index beyond the end leaves a gap that
    // NameCount stops at, and the values behind it are reached only by position.
    table_.Set({KeyAt(name.Bytes(), index), name.GetEncoding()}, value);
}

void InternetHeaders::Delete(const String& name) {
    const std::int32_t count = NameCount(name);
    if (count == 0) return;
    RemoveKey(name.Bytes());
    for (std::int32_t index = 1; index < count; ++index) RemoveKey(SuffixedKey(name.Bytes(), index));
    table_.CloseGaps();
}

void InternetHeaders::Delete(const String& name, std::int32_t index) {
    const std::string key = KeyAt(name.Bytes(), index);
    if (!table_.Find(key)) return;
    RemoveKey(key);
    // Each later value moves down into the index just freed, up to the first
    // absent one, and goes behind the others: its key was just removed. The
    // bound only keeps `freed + 1` from overflowing.
    for (std::int32_t freed = index; freed < std::numeric_limits<std::int32_t>::max(); ++freed) {
        const std::string next = SuffixedKey(name.Bytes(), freed + 1);
        const CompactText* value = table_.Find(next);
        if (!value) break;
        table_.Set({KeyAt(name.Bytes(), freed), name.GetEncoding()}, {value->Bytes(), value->GetEncoding()});
        RemoveKey(next);
    }
    table_.CloseGaps();
}

void InternetHeaders::DeleteAllHeaders() {
    Clear(String());
}

void InternetHeaders::RemoveKey(std::string_view key) {
    table_.Remove(key);
    firstMaybeFree_.erase(Folded(BareName(key)));  // the number just freed may be lower
}

void InternetHeaders::Clear(const String& block) {
    table_.Reset(block);
    firstMaybeFree_.clear();
}

String InternetHeaders::Source() const {
    return source_.IsEmpty() ? _FormatHTTPHeaders() : source_;
}

void InternetHeaders::_ParseHeaders(const String& text) {
    source_ = text;
    Clear(text);
    const Encoding encoding = text.GetEncoding();
    ForEachUnfoldedLine(text.Bytes(), LineEndOf(text.Bytes()).once, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        // A status line, a blank line or junk; the lines behind a blank one are read too.
        if (colon == std::string_view::npos) return;
        Append({line.substr(0, colon), encoding}, {LTrimBytes(line.substr(colon + 1)), encoding});
    });
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
