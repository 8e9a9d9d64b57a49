#pragma once

#include <cstddef>
#include <functional>
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
    // Gives a queue's storage room for `capacity` bytes in all: reserve, unless
    // a test puts in one that runs out as an exhausted heap does, by throwing
    // std::bad_alloc.
    using RoomMaker = std::function<void(std::string& storage, std::size_t capacity)>;
    void SetRoomMaker(RoomMaker makeRoom) { makeRoom_ = std::move(makeRoom); }

    bool IsEmpty() const { return Size() == 0; }
    std::size_t Size() const { return data_.size() - head_; }
    std::string_view View() const { return std::string_view(data_).substr(head_); }

    void Append(std::string_view bytes) { data_.append(bytes); }
    // Room for `bytes` more, so that a run of appends does not regrow and copy.
    void Reserve(std::size_t bytes) { data_.reserve(data_.size() + bytes); }
    // Reads up to `max` bytes from `fd` straight onto the end; read(2)'s
    // result, or -1 with errno ENOMEM when no room can be made for them (what
    // the queue holds stays as it was).
    long AppendFrom(int fd, std::size_t max);

    String Take(std::size_t count);
    String TakeAll();
    void Drop(std::size_t count);
    // Empties the queue, kept bytes included.
    void Clear();

    // Starts keeping. `storage` lends its room (its bytes do not matter); the
    // room grows with the bytes that arrive, never ahead of them by a size
    // that someone announced. std::bad_alloc when not even the unread bytes fit.
    void Keep(std::string storage);
    // The unread bytes, from now on kept.
    std::string_view Claim();
    std::size_t KeptSize() const { return keeping_ ? head_ : 0; }
    // The kept bytes, and the end of keeping; unread bytes stay queued.
    String TakeKept();

private:
    // Room in `storage` for `needed` bytes in all, `wished` if it can be had.
    void MakeRoom(std::string& storage, std::size_t needed, std::size_t wished) const;

    RoomMaker makeRoom_;
    std::string data_;
    std::size_t head_ = 0;
    bool keeping_ = false;
};

}  // namespace qv
