#include "shell/LogEcho.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace qv {

void LogEcho::WriteLine(std::string_view line) {
    if (dropped_ > 0) {
        const std::string notice = std::to_string(dropped_) + " log line" + (dropped_ == 1 ? " was" : "s were") +
                                   " dropped: nothing was reading standard error\n";
        if (!TryWrite(notice)) {
            ++dropped_;
            return;
        }
        dropped_ = 0;
    }
    std::string text(line.substr(0, PIPE_BUF - 1));
    text += '\n';
    if (!TryWrite(text)) ++dropped_;
}

bool LogEcho::TryWrite(std::string_view text) const {
    pollfd probe{fd_, POLLOUT, 0};
    if (poll(&probe, 1, 0) != 1 || (probe.revents & POLLOUT) == 0) return false;
    ssize_t written;
    do {
        written = write(fd_, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    return written > 0;
}

}  // namespace qv
