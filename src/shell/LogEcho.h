#pragma once

#include <cstdint>
#include <string_view>

namespace qv {

// Writes the log's entries, one line each, to a descriptor (standard error
// without a window) and never blocks the one thread doing so: a launcher that
// never reads our standard error must not freeze the channel. A line goes out
// only when poll(2) says the descriptor takes it now, in one write of at most
// PIPE_BUF bytes, which a pipe with room takes whole; otherwise it is dropped
// and counted, and the count is told in one line ahead of the next line that
// can be written.
class LogEcho {
public:
    explicit LogEcho(int fd) : fd_(fd) {}

    void WriteLine(std::string_view line);

private:
    bool TryWrite(std::string_view text) const;

    int fd_;
    std::uint64_t dropped_ = 0;
};

}  // namespace qv
