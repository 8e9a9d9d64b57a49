#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/String.h"

namespace qv {

// Bytes in arrival order, taken from the front. Appends and takes are amortised
// O(1) per byte: the consumed front is dropped only once it outweighs the rest.
class ByteQueue {
public:
    bool IsEmpty() const { return Size() == 0; }
    std::size_t Size() const { return data_.size() - head_; }
    std::string_view View() const { return std::string_view(data_).substr(head_); }

    void Append(std::string_view bytes) { data_.append(bytes); }
    // Room for `bytes` more, so that a run of appends does not regrow and copy.
    void Reserve(std::size_t bytes) { data_.reserve(data_.size() + bytes); }
    // Reads up to `max` bytes from `fd` straight onto the end; read(2)'s result.
    long AppendFrom(int fd, std::size_t max);

    String Take(std::size_t count);
    String TakeAll();
    void Drop(std::size_t count);
    void Clear();

private:
    std::string data_;
    std::size_t head_ = 0;
};

}  // namespace qv
