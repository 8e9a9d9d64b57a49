#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/String.h"

namespace qv {

// Bytes in arrival order, taken from the front. Appends and takes are amortised
// O(1) per byte: the consumed front is dropped only once it outweighs the rest.
//
// A queue can also keep what it hands out: after Keep, bytes leave only by
// Claim, and stay where they were read, in front of the unread ones, so that a
// body grows in the buffer it was read into and is handed over whole by
// TakeKept, never copied.
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
    // Empties the queue, kept bytes included.
    void Clear();

    // Starts keeping. `storage` lends its room (its bytes do not matter), and
    // `expected` bytes are foreseen: room for them is made at once.
    void Keep(std::string storage, std::size_t expected);
    // The unread bytes, from now on kept.
    std::string_view Claim();
    std::size_t KeptSize() const { return keeping_ ? head_ : 0; }
    // The kept bytes, and the end of keeping; unread bytes stay queued.
    String TakeKept();

private:
    std::string data_;
    std::size_t head_ = 0;
    bool keeping_ = false;
};

}  // namespace qv
