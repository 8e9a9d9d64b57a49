#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qv {

// The text encoding a string's bytes are marked with. Bytes that come from a
// socket or a file carry no mark; DefineEncoding sets one without touching a byte.
enum class Encoding : std::uint8_t { None, UTF8 };

// An immutable byte sequence with an optional encoding mark.
//
// Copies share one storage block, so handing a 16 MiB page from an event to a
// report costs nothing. The empty string and a never-assigned string are the
// same value. Character functions (Len, Mid, ...) count characters of a
// UTF-8-marked string and bytes otherwise; the byte functions always count bytes.
//
// There is deliberately no operator==: the system's equality ignores letter
// case (SameText), and a test that wants exact bytes compares Bytes().
class String {
public:
    String() = default;
    String(const char* literal, Encoding encoding = Encoding::None);  // NOLINT: literals read naturally.
    String(std::string_view bytes, Encoding encoding = Encoding::None);
    explicit String(std::string&& bytes, Encoding encoding = Encoding::None);

    std::string_view Bytes() const { return bytes_ ? std::string_view(*bytes_) : std::string_view(); }
    std::size_t Size() const { return bytes_ ? bytes_->size() : 0; }
    bool IsEmpty() const { return Size() == 0; }
    Encoding GetEncoding() const { return encoding_; }

    // The same bytes under another mark; shares the storage.
    String WithEncoding(Encoding encoding) const;
    // Empties this string and gives back its storage, bytes and room, when no
    // other string shares it; otherwise an empty string. Lets a large buffer
    // serve again once its last reader is done.
    std::string ReleaseStorage() &&;

private:
    std::shared_ptr<const std::string> bytes_;
    Encoding encoding_ = Encoding::None;
};

// Joins two strings. The result is UTF-8-marked when either side is.
String operator+(const String& left, const String& right);

// The system's one letter-case rule: ASCII letters fold, every other byte stands
// for itself, so UTF-8 text and binary data compare byte for byte.
inline char FoldCase(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Bytes compared under FoldCase; the searches of the text functions use it too.
bool EqualIgnoringCase(std::string_view left, std::string_view right);

// The system's string equality: bytes compared with ASCII letter case ignored.
bool SameText(const String& left, const String& right);

// Grows a string by amortised O(1) appends and hands the bytes over without a
// copy. Used wherever a large text is built piece by piece.
class StringBuilder {
public:
    void Reserve(std::size_t bytes) { bytes_.reserve(bytes); }
    void Append(std::string_view bytes) { bytes_.append(bytes); }
    void Append(const char* bytes) { bytes_.append(bytes); }
    void Append(const String& text);
    std::size_t Size() const { return bytes_.size(); }
    // Leaves the builder empty.
    String Take(Encoding encoding = Encoding::None);

private:
    std::string bytes_;
    Encoding encoding_ = Encoding::None;
};

}  // namespace qv
