#include "foundation/ByteQueue.h"

#include <unistd.h>

#include <algorithm>

namespace qv {

long ByteQueue::AppendFrom(int fd, std::size_t max) {
    const std::size_t before = data_.size();
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
}

}  // namespace qv
