#include "http/PageBuffer.h"

namespace qv {

void PageBuffer::Append(const String& piece) {
    if (frozen_) {
        // Read once and then grown again: rare, and one copy brings it back.
        growing_.Append(text_);
        text_ = String();
        frozen_ = false;
    }
    growing_.Append(piece);
}

String PageBuffer::Text() {
    if (!frozen_) {
        text_ = growing_.Take();
        frozen_ = true;
    }
    return text_;
}

void PageBuffer::Clear() {
    growing_.Take();
    text_ = String();
    frozen_ = false;
}

}  // namespace qv
