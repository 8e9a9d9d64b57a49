#include "foundation/BinaryStream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "foundation/platform/Platform.h"

namespace qv {

String BinaryStream::Read(std::int32_t count) {
    if (count <= 0 || !descriptor_) return String();
    // Read straight into the string that becomes the result: a chunk is never copied.
    std::string bytes(static_cast<std::size_t>(count), '\0');
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::pread(descriptor_.Get(), bytes.data() + got, bytes.size() - got,
                                  static_cast<off_t>(position_ + got));
        if (n > 0) {
            got += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else {
            break;
        }
    }
    bytes.resize(got);
    position_ += got;
    return String(std::move(bytes));
}

void BinaryStream::Write(const String& data) {
    if (!descriptor_) return;
    const std::string_view bytes = data.Bytes();
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::pwrite(descriptor_.Get(), bytes.data() + written, bytes.size() - written,
                                   static_cast<off_t>(position_ + written));
        if (n > 0) {
            written += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else {
            break;
        }
    }
    position_ += written;
}

BinaryStream::Extent BinaryStream::Reserve(std::int32_t count) {
    struct stat status {};
    if (count <= 0 || !descriptor_ || ::fstat(descriptor_.Get(), &status) != 0) return Extent{position_, 0};
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const std::uint64_t available = size > position_ ? size - position_ : 0;
    const Extent extent{position_, std::min<std::uint64_t>(static_cast<std::uint64_t>(count), available)};
    position_ += extent.length;
    return extent;
}

namespace {

// The next stretch of data at or behind `at`, cut at `end`; {end, end} when
// only a hole is left. A file system that cannot tell holes has all data.
std::pair<off_t, off_t> NextData(int fd, off_t at, off_t end) {
    const off_t data = ::lseek(fd, at, SEEK_DATA);
    if (data < 0) return errno == ENXIO ? std::pair{end, end} : std::pair{at, end};
    if (data >= end) return {end, end};
    const off_t hole = ::lseek(fd, data, SEEK_HOLE);
    return {data, hole < data || hole > end ? end : hole};
}

}  // namespace

bool BinaryStream::WriteExtent(const BinaryStream& source, Extent extent) {
    if (!descriptor_ || !source.descriptor_) return extent.length == 0;
    // Only the data is copied: where the source has a hole, this file gets one
    // too, as cp makes it, and reads back the same zeros.
    auto from = static_cast<off_t>(extent.offset);
    const auto end = static_cast<off_t>(extent.offset + extent.length);
    auto to = static_cast<off_t>(position_);
    while (from < end) {
        const auto [data, hole] = NextData(source.descriptor_.Get(), from, end);
        to += data - from;
        const off_t reached = platform::CopyFileBytes(source.descriptor_.Get(), data, descriptor_.Get(), to,
                                                      static_cast<std::uint64_t>(hole - data));
        if (reached != to + (hole - data)) {
            // What was written stays: the file is an exact prefix of the source.
            position_ = static_cast<std::uint64_t>(reached);
            return false;
        }
        to = reached;
        from = hole;
    }
    // A hole at the end is made by the length alone.
    struct stat status {};
    if (::fstat(descriptor_.Get(), &status) != 0 ||
        (status.st_size < to && ::ftruncate(descriptor_.Get(), to) != 0)) {
        return false;
    }
    position_ = static_cast<std::uint64_t>(to);
    return true;
}

bool BinaryStream::EndOfFile() const {
    struct stat status {};
    if (!descriptor_ || ::fstat(descriptor_.Get(), &status) != 0) return true;
    return position_ >= static_cast<std::uint64_t>(status.st_size);
}

void BinaryStream::Close() {
    descriptor_.Reset();
}

}  // namespace qv
