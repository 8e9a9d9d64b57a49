#include "foundation/BinaryStream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace qv {

BinaryStream::~BinaryStream() {
    Close();
}

String BinaryStream::Read(std::int32_t count) {
    if (count <= 0 || descriptor_ < 0) return String();
    // Read straight into the string that becomes the result: a chunk is never copied.
    std::string bytes(static_cast<std::size_t>(count), '\0');
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::read(descriptor_, bytes.data() + got, bytes.size() - got);
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
    if (descriptor_ < 0) return;
    const std::string_view bytes = data.Bytes();
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(descriptor_, bytes.data() + written, bytes.size() - written);
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

bool BinaryStream::EndOfFile() const {
    struct stat status {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) return true;
    return position_ >= static_cast<std::uint64_t>(status.st_size);
}

void BinaryStream::Close() {
    if (descriptor_ < 0) return;
    // No retry on EINTR: the descriptor is released either way, and a retry
    // could close one that another part of the program has just been given.
    ::close(descriptor_);
    descriptor_ = -1;
}

}  // namespace qv
