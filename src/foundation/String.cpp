#include "foundation/String.h"

#include <algorithm>

namespace qv {

namespace {

Encoding Joined(Encoding left, Encoding right) {
    return (left == Encoding::UTF8 || right == Encoding::UTF8) ? Encoding::UTF8 : Encoding::None;
}

}  // namespace

String::String(const char* literal, Encoding encoding)
    : String(std::string_view(literal ? literal : ""), encoding) {}

String::String(std::string_view bytes, Encoding encoding) : encoding_(encoding) {
    if (!bytes.empty()) bytes_ = std::make_shared<std::string>(bytes);
}

String::String(std::string&& bytes, Encoding encoding) : encoding_(encoding) {
    if (!bytes.empty()) bytes_ = std::make_shared<std::string>(std::move(bytes));
}

std::string String::ReleaseStorage() && {
    std::string storage;
    // Made as a mutable string in every constructor, so taking it back is sound.
    if (bytes_ && bytes_.use_count() == 1) storage = std::move(const_cast<std::string&>(*bytes_));
    bytes_.reset();
    return storage;
}

String String::WithEncoding(Encoding encoding) const {
    String copy = *this;
    copy.encoding_ = encoding;
    return copy;
}

String operator+(const String& left, const String& right) {
    const Encoding encoding = Joined(left.GetEncoding(), right.GetEncoding());
    if (right.IsEmpty()) return left.WithEncoding(encoding);
    if (left.IsEmpty()) return right.WithEncoding(encoding);
    std::string joined;
    joined.reserve(left.Size() + right.Size());
    joined.append(left.Bytes()).append(right.Bytes());
    return String(std::move(joined), encoding);
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}

bool SameText(const String& left, const String& right) {
    return EqualIgnoringCase(left.Bytes(), right.Bytes());
}

void StringBuilder::Append(const String& text) {
    bytes_.append(text.Bytes());
    encoding_ = Joined(encoding_, text.GetEncoding());
}

String StringBuilder::Take(Encoding encoding) {
    String result(std::move(bytes_), Joined(encoding_, encoding));
    bytes_ = std::string();
    encoding_ = Encoding::None;
    return result;
}

}  // namespace qv
