#pragma once

#include <cstddef>
#include <deque>
#include <string_view>

#include "foundation/String.h"

namespace qv {

// Bytes waiting to be sent, kept as the strings they were written as: queuing a
// 20 MiB frame behind a full socket costs a reference, not a copy.
class SendQueue {
public:
    bool IsEmpty() const { return size_ == 0; }
    std::size_t Size() const { return size_; }

    // Queues `data` from byte `from` on.
    void Push(const String& data, std::size_t from = 0);
    // The unsent bytes of the oldest string.
    std::string_view Front() const;
    // Marks `count` bytes of Front() as sent.
    void Drop(std::size_t count);
    void Clear();

private:
    struct Chunk {
        String data;
        std::size_t sent;
    };
    std::deque<Chunk> chunks_;
    std::size_t size_ = 0;
};

}  // namespace qv
