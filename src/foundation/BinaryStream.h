#pragma once

#include <cstdint>

#include "foundation/Descriptor.h"
#include "foundation/String.h"

namespace qv {

class FolderItem;

// An open file, read and written straight through read(2) and write(2) with no
// buffer of its own: the copy moves 2 MiB chunks, and a second buffer would only
// copy them again. Failures are never exceptions; a read gives what it got and a
// write that fails is dropped, since callers judge a copy by its result alone.
// The descriptor is closed by Close or when the last reference goes.
class BinaryStream {
public:
    BinaryStream(const BinaryStream&) = delete;
    BinaryStream& operator=(const BinaryStream&) = delete;

    // Up to count bytes from the current position, without an encoding mark;
    // fewer at the end of the file or after a failure.
    String Read(std::int32_t count);
    // All the bytes at the current position. A read-only stream writes nothing.
    void Write(const String& data);

    // True when the position is at or past the file's current end. The end is
    // asked of the file each time, so a file that grows makes this false again.
    // Named EndOfFile rather than EOF, which the C library defines as a macro.
    bool EndOfFile() const;
    std::uint64_t Position() const { return position_; }

    // Idempotent. A closed stream reads nothing, writes nothing and is at its end.
    void Close();

    // A stretch of this file, taken as Read would take it (up to `count` bytes
    // from the position, which moves on) but not brought into memory: a later
    // WriteExtent moves the bytes from file to file inside the kernel.
    struct Extent {
        std::uint64_t offset;
        std::uint64_t length;
    };
    Extent Reserve(std::int32_t count);
    // Writes `extent` of `source` at this stream's position, inside the kernel
    // where the system and the file systems allow it (platform::CopyFileBytes)
    // and by reading and writing otherwise.
    // False when less than the whole extent was written (a full disk, a source
    // that shrank): what was written stays, and the position has moved by it.
    bool WriteExtent(const BinaryStream& source, Extent extent);

private:
    friend class FolderItem;
    explicit BinaryStream(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    Descriptor descriptor_;
    std::uint64_t position_ = 0;
};

}  // namespace qv
