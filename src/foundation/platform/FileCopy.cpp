#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "foundation/platform/Platform.h"

namespace qv::platform {

namespace {

// A buffer at a time, read whole and written whole. Both offsets move by what
// was written; `left` keeps what was not. The buffer is not cleared first:
// every byte written from it was read into it.
void CopyThroughMemory(int from, off_t& fromOffset, int to, off_t& toOffset, std::uint64_t& left) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, 1024 * 1024));
    const std::unique_ptr<char[]> buffer = std::make_unique_for_overwrite<char[]>(size);
    while (left > 0) {
        const ssize_t got = ::pread(from, buffer.get(), std::min<std::uint64_t>(left, size), fromOffset);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return;
        for (std::size_t written = 0; written < static_cast<std::size_t>(got);) {
            const ssize_t n =
                ::pwrite(to, buffer.get() + written, static_cast<std::size_t>(got) - written, toOffset);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return;
            written += static_cast<std::size_t>(n);
            fromOffset += n;
            toOffset += n;
            left -= static_cast<std::uint64_t>(n);
        }
    }
}

}  // namespace

off_t CopyFileBytes(int source, off_t from, int destination, off_t to, std::uint64_t length) {
    std::uint64_t left = length;
#if defined(QV_LINUX_CALLS)
    // Inside the kernel, file to file; through memory where the file systems
    // refuse. (macOS's fcopyfile and clonefile copy whole files, and clonefile
    // their metadata too, so the BSD family takes the loop alone.)
    while (left > 0) {
        const ssize_t n = ::copy_file_range(source, &from, destination, &to, left, 0);
        if (n > 0) {
            left -= static_cast<std::uint64_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
            break;
        } else {
            return to;
        }
    }
#endif
    CopyThroughMemory(source, from, destination, to, left);
    return to;
}

}  // namespace qv::platform
