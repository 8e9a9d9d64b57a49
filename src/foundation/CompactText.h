#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/String.h"

namespace qv {

// Bytes and their encoding mark, as handed to a table; a String converts.
struct TextRef {
    TextRef(const String& text) : bytes(text.Bytes()), encoding(text.GetEncoding()) {}  // NOLINT: reads naturally.
    TextRef(std::string_view textBytes, Encoding textEncoding) : bytes(textBytes), encoding(textEncoding) {}

    std::string_view bytes;
    Encoding encoding;
};

// One text of a table entry in 16 bytes, where a String takes 24 and a heap
// block of some 64 more: up to 15 bytes are kept inline, a longer text on the
// heap or, when its bytes lie in a block that the table keeps anyway, as a
// view into that block. A header line of a few bytes thus costs no
// allocation, and a long one no second copy.
class CompactText {
public:
    CompactText() noexcept;
    // Copies the bytes, unless `borrow` is set and they do not fit inline:
    // then it refers to them, and whoever borrows keeps them alive and
    // unchanged as long as this text and its copies.
    CompactText(TextRef text, bool borrow);
    CompactText(const CompactText& other);
    CompactText(CompactText&& other) noexcept;
    CompactText& operator=(const CompactText& other);
    CompactText& operator=(CompactText&& other) noexcept;
    ~CompactText();

    std::string_view Bytes() const;
    Encoding GetEncoding() const;
    String ToString() const { return String(Bytes(), GetEncoding()); }

    // A text that marks the place of a removed table entry; it reads as "".
    static CompactText Vacant();
    bool IsVacant() const;

private:
    enum class Kind : std::uint8_t { Inline, Borrowed, Owned, Vacant };
    static constexpr std::size_t kInlineBytes = 15;
    static constexpr std::size_t kTag = 15;  // the byte that says which kind and mark

    Kind GetKind() const;
    void SetTag(Kind kind, Encoding encoding, std::size_t inlineSize);
    const char* FarData() const;
    std::size_t FarSize() const;
    void SetFar(const char* data, std::size_t size);
    void Release() noexcept;

    // Inline: the bytes, then the tag. Otherwise: a pointer, the size in the
    // next 7 bytes, then the tag.
    alignas(8) unsigned char raw_[16];
};

static_assert(sizeof(CompactText) == 16);

}  // namespace qv
