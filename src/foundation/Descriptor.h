#pragma once

#include <unistd.h>

#include <utility>

namespace qv {

// One open file descriptor, owned: closed when the handle goes or is reset,
// moved but never copied, so no descriptor is closed twice or left open.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.fd_, -1));
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Reset(); }

    int Get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    // Gives the descriptor up without closing it.
    int Release() { return std::exchange(fd_, -1); }
    // Closes what is held, without a retry on EINTR: the descriptor is released
    // either way, and a retry could close one just handed out elsewhere.
    void Reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

}  // namespace qv
