#include "foundation/ByteQueue.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace qv {

namespace {

// Room for kept bytes is made well ahead: pages not yet written cost address
// space, not memory, while each outgrowing of the room copies everything kept
// into fresh pages. With sixteenfold steps a 64 MiB body is written to fresh
// memory about 1.3 times in all, with doubling twice; from 256 MiB on the
// steps double, so beyond that the room stays within twice the bytes.
std::size_t KeptRoomFor(std::size_t needed, std::size_t room) {
    constexpr std::size_t kLargeRoom = std::size_t{256} << 20;
    return std::max(needed, std::min(room * 16, std::max(room * 2, kLargeRoom)));
}

}  // namespace

void ByteQueue::MakeRoom(std::string& storage, std::size_t needed, std::size_t wished) const {
    if (needed <= storage.capacity()) return;
    const auto make = [&](std::size_t capacity) {
        if (makeRoom_) {
            makeRoom_(storage, capacity);
        } else {
            storage.reserve(capacity);
        }
    };
    const auto tryMake = [&](std::size_t capacity) {
        try {
            make(capacity);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    // A step ahead that is too much for the heap falls back to a doubling, so
    // that growth stays amortised, and then to the bytes themselves.
    const std::size_t doubled = std::max(needed, storage.capacity() * 2);
    if (wished > needed && tryMake(wished)) return;
    if (doubled > needed && doubled < wished && tryMake(doubled)) return;
    make(needed);
}

long ByteQueue::AppendFrom(int fd, std::size_t max) {
    const std::size_t before = data_.size();
    if (before + max > data_.capacity()) {
        const std::size_t wished = keeping_ ? KeptRoomFor(before + max, data_.capacity())
                                            : std::max(before + max, data_.capacity() * 2);
        try {
            MakeRoom(data_, before + max, wished);
        } catch (const std::bad_alloc&) {
            errno = ENOMEM;
            return -1;
        }
    }
    data_.resize(before + max);
    const ssize_t got = read(fd, data_.data() + before, max);
    data_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return got;
}

String ByteQueue::Take(std::size_t count) {
    count = std::min(count, Size());
    if (count == Size()) return TakeAll();
    String taken(View().substr(0, count));
    Drop(count);
    return taken;
}

String ByteQueue::TakeAll() {
    String taken = head_ == 0 ? String(std::move(data_)) : String(View());
    Clear();
    return taken;
}

void ByteQueue::Drop(std::size_t count) {
    head_ += std::min(count, Size());
    if (head_ == data_.size()) {
        Clear();
    } else if (head_ >= 65536 && head_ > data_.size() / 2) {
        data_.erase(0, head_);
        head_ = 0;
    }
}

void ByteQueue::Clear() {
    // Room for the frames and pages of everyday use is kept, so that a stream
    // of them does not allocate afresh for each; an outsized one once must not
    // hold its memory for the rest of the connection.
    constexpr std::size_t kKeptCapacity = 64 * 1024 * 1024;
    if (data_.capacity() > kKeptCapacity) {
        std::string().swap(data_);
    } else {
        data_.clear();
    }
    head_ = 0;
    keeping_ = false;
}

void ByteQueue::Keep(std::string storage) {
    // What is unread moves to the front of the lent room; it is little, the
    // rest of a read that ended a header block.
    storage.clear();
    MakeRoom(storage, Size(), Size());
    storage.append(View());
    data_ = std::move(storage);
    head_ = 0;
    keeping_ = true;
}

std::string_view ByteQueue::Claim() {
    if (!keeping_) return std::string_view();
    const std::string_view unread = View();
    head_ = data_.size();
    return unread;
}

String ByteQueue::TakeKept() {
    if (!keeping_) return String();
    std::string unread(View());
    data_.resize(head_);
    String kept(std::move(data_));
    data_ = std::move(unread);
    head_ = 0;
    keeping_ = false;
    return kept;
}

}  // namespace qv
