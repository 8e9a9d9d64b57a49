#include "support/Support.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qv::test {

void AdvanceTo(RunLoop& loop, ManualClock& clock, TimePoint until) {
    loop.RunOnce(Duration::zero());
    for (auto due = loop.NextTimerDue(); !loop.Stopping() && due && *due <= until; due = loop.NextTimerDue()) {
        if (*due > clock.Now()) clock.Set(*due);
        loop.RunOnce(Duration::zero());
    }
    if (clock.Now() < until) clock.Set(until);
    loop.RunOnce(Duration::zero());
}

bool RunUntil(RunLoop& loop, const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        const auto left = deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero() || loop.Stopping()) return done();
        loop.RunOnce(std::min<Duration>(left, std::chrono::milliseconds(20)));
    }
    return true;
}

TempDir::TempDir() {
    char pattern[] = "/tmp/qvtest.XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

TcpListener::TcpListener(int family, std::int32_t port, int backlog) {
    fd_ = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_storage address{};
    socklen_t length = 0;
    if (family == AF_INET6) {
        auto& v6 = reinterpret_cast<sockaddr_in6&>(address);
        v6 = sockaddr_in6{AF_INET6, htons(static_cast<std::uint16_t>(port)), 0, in6addr_loopback, 0};
        length = sizeof v6;
        const int only = 1;
        setsockopt(fd_, IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only);
    } else {
        auto& v4 = reinterpret_cast<sockaddr_in&>(address);
        v4.sin_family = AF_INET;
        v4.sin_port = htons(static_cast<std::uint16_t>(port));
        v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        length = sizeof v4;
    }
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(fd_, backlog) != 0 ||
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("cannot listen on the loopback address");
    }
    port_ = ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);  // the same place in both families
}

int TcpListener::Accept(int waitMs) {
    pollfd ready{fd_, POLLIN, 0};
    if (fd_ < 0 || poll(&ready, 1, waitMs) != 1) return -1;
    return accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
}

void TcpListener::StopListening() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

NoDescriptorLeft::NoDescriptorLeft() {
    const int lowestFree = dup(0);
    close(lowestFree);
    getrlimit(RLIMIT_NOFILE, &saved_);
    const rlimit atTheEdge{static_cast<rlim_t>(lowestFree), saved_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &atTheEdge);
}

NoDescriptorLeft::~NoDescriptorLeft() { setrlimit(RLIMIT_NOFILE, &saved_); }

void WriteAll(int fd, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n = send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0) throw std::runtime_error("write failed");
        done += static_cast<std::size_t>(n);
    }
}

std::string ReadAvailable(int fd, int quietMs) {
    std::string got;
    char buffer[65536];
    for (pollfd ready{fd, POLLIN, 0}; poll(&ready, 1, quietMs) == 1;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        got.append(buffer, static_cast<std::size_t>(n));
    }
    return got;
}

void ResetConnection(int fd) {
    const linger abort{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(fd);
}

int ConnectLocal(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
    close(fd);
    return -1;
}

std::string Pattern(std::size_t size, int step) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * step % 251 + i / 251);
    return bytes;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string Command(std::initializer_list<Field> fields) {
    return std::string(CommandText(fields).Bytes());
}

}  // namespace qv::test
