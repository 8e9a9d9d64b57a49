#include "foundation/CompactText.h"

#include <cstring>

namespace qv {

namespace {

// The tag byte: the kind in bits 0-1, the UTF-8 mark in bit 2, an inline size in bits 4-7.
constexpr unsigned kKindBits = 0x3;
constexpr unsigned kUTF8Bit = 0x4;
constexpr unsigned kSizeShift = 4;
constexpr std::size_t kSizeBytes = 7;

}  // namespace

CompactText::CompactText() noexcept {
    std::memset(raw_, 0, sizeof raw_);
}

CompactText::CompactText(TextRef text, bool borrow) : CompactText() {
    const std::string_view bytes = text.bytes;
    if (bytes.size() <= kInlineBytes) {
        if (!bytes.empty()) std::memcpy(raw_, bytes.data(), bytes.size());
        SetTag(Kind::Inline, text.encoding, bytes.size());
    } else if (borrow) {
        SetFar(bytes.data(), bytes.size());
        SetTag(Kind::Borrowed, text.encoding, 0);
    } else {
        char* copy = new char[bytes.size()];
        std::memcpy(copy, bytes.data(), bytes.size());
        SetFar(copy, bytes.size());
        SetTag(Kind::Owned, text.encoding, 0);
    }
}

CompactText::CompactText(const CompactText& other) : CompactText() {
    if (other.GetKind() == Kind::Owned) {
        *this = CompactText(TextRef(other.Bytes(), other.GetEncoding()), false);
    } else {
        std::memcpy(raw_, other.raw_, sizeof raw_);
    }
}

CompactText::CompactText(CompactText&& other) noexcept {
    std::memcpy(raw_, other.raw_, sizeof raw_);
    std::memset(other.raw_, 0, sizeof other.raw_);
}

CompactText& CompactText::operator=(const CompactText& other) {
    if (this != &other) *this = CompactText(other);
    return *this;
}

CompactText& CompactText::operator=(CompactText&& other) noexcept {
    if (this != &other) {
        Release();
        std::memcpy(raw_, other.raw_, sizeof raw_);
        std::memset(other.raw_, 0, sizeof other.raw_);
    }
    return *this;
}

CompactText::~CompactText() {
    Release();
}

void CompactText::Release() noexcept {
    if (GetKind() == Kind::Owned) delete[] FarData();
    std::memset(raw_, 0, sizeof raw_);
}

std::string_view CompactText::Bytes() const {
    switch (GetKind()) {
        case Kind::Inline:
            return {reinterpret_cast<const char*>(raw_), static_cast<std::size_t>(raw_[kTag] >> kSizeShift)};
        case Kind::Borrowed:
        case Kind::Owned:
            return {FarData(), FarSize()};
        case Kind::Vacant:
            break;
    }
    return {};
}

Encoding CompactText::GetEncoding() const {
    return (raw_[kTag] & kUTF8Bit) != 0 ? Encoding::UTF8 : Encoding::None;
}

CompactText CompactText::Vacant() {
    CompactText vacant;
    vacant.SetTag(Kind::Vacant, Encoding::None, 0);
    return vacant;
}

bool CompactText::IsVacant() const {
    return GetKind() == Kind::Vacant;
}

CompactText::Kind CompactText::GetKind() const {
    return static_cast<Kind>(raw_[kTag] & kKindBits);
}

void CompactText::SetTag(Kind kind, Encoding encoding, std::size_t inlineSize) {
    raw_[kTag] = static_cast<unsigned char>(static_cast<unsigned>(kind) |
                                            (encoding == Encoding::UTF8 ? kUTF8Bit : 0) | (inlineSize << kSizeShift));
}

const char* CompactText::FarData() const {
    const char* data = nullptr;
    std::memcpy(&data, raw_, sizeof data);
    return data;
}

std::size_t CompactText::FarSize() const {
    std::size_t size = 0;
    for (std::size_t i = kSizeBytes; i-- > 0;) size = (size << 8) | raw_[sizeof(const char*) + i];
    return size;
}

void CompactText::SetFar(const char* data, std::size_t size) {
    std::memcpy(raw_, &data, sizeof data);
    for (std::size_t i = 0; i < kSizeBytes; ++i, size >>= 8) {
        raw_[sizeof(const char*) + i] = static_cast<unsigned char>(size & 0xFF);
    }
}

}  // namespace qv
