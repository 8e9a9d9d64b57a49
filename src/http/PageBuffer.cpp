#include "http/PageBuffer.h"

#include <algorithm>

namespace qv {

namespace {

// Room is made well ahead of the bytes: pages not yet written cost address
// space, not memory, while each outgrowing of the room copies the whole body
// into fresh pages, and first touches of fresh pages are most of what a large
// body costs. With sixteenfold steps a 64 MiB body is written to fresh memory
// about 1.3 times in all, with doubling twice; from 256 MiB on the steps
// double, so beyond that the room stays within twice the body.
std::size_t RoomFor(std::size_t needed, std::size_t room) {
    constexpr std::size_t kLargeRoom = std::size_t{256} << 20;
    return std::max(needed, std::min(room * 16, std::max(room * 2, kLargeRoom)));
}

}  // namespace

void PageBuffer::Append(const String& piece) {
    if (frozen_) {
        // Read once and then grown again: rare, and one copy brings it back.
        frozen_ = false;
        Grow(text_);
        text_ = String();
    }
    Grow(piece);
}

String PageBuffer::Text() {
    if (!frozen_) {
        text_ = growing_.Take();
        room_ = 0;
        frozen_ = true;
    }
    return text_;
}

void PageBuffer::Clear() {
    growing_.Take();
    room_ = 0;
    text_ = String();
    frozen_ = false;
}

void PageBuffer::Grow(const String& bytes) {
    const std::size_t needed = growing_.Size() + bytes.Size();
    if (needed > room_) {
        room_ = RoomFor(needed, room_);
        growing_.Reserve(room_);
    }
    growing_.Append(bytes);
}

}  // namespace qv
