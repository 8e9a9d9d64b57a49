#include "foundation/SendQueue.h"

#include <algorithm>

namespace qv {

void SendQueue::Push(const String& data, std::size_t from) {
    if (from >= data.Size()) return;
    chunks_.push_back(Chunk{data, from});
    size_ += data.Size() - from;
}

std::string_view SendQueue::Front() const {
    return chunks_.empty() ? std::string_view() : chunks_.front().data.Bytes().substr(chunks_.front().sent);
}

void SendQueue::Drop(std::size_t count) {
    if (chunks_.empty()) return;
    Chunk& front = chunks_.front();
    count = std::min(count, front.data.Size() - front.sent);
    front.sent += count;
    size_ -= count;
    if (front.sent == front.data.Size()) chunks_.pop_front();
}

void SendQueue::Clear() {
    chunks_.clear();
    size_ = 0;
}

}  // namespace qv
