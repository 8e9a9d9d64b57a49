#include "support/TestPeers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace qv::test {

TempDir::TempDir() {
    char pattern[] = "/tmp/qvtest.XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

TcpListener::TcpListener() {
    fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(fd_, 8) != 0 ||
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
}

TcpListener::~TcpListener() { StopListening(); }

int TcpListener::Accept() {
    pollfd ready{fd_, POLLIN, 0};
    if (poll(&ready, 1, 3000) != 1) return -1;
    return accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
}

int TcpListener::AcceptNow() {
    pollfd ready{fd_, POLLIN, 0};
    if (fd_ < 0 || poll(&ready, 1, 0) != 1) return -1;
    return accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
}

void TcpListener::StopListening() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

void WriteAll(int fd, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0) throw std::runtime_error("write failed");
        done += static_cast<std::size_t>(n);
    }
}

std::string ReadAvailable(int fd, int quietMs) {
    std::string got;
    char buffer[65536];
    for (;;) {
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, quietMs) != 1) return got;
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) return got;
        got.append(buffer, static_cast<std::size_t>(n));
    }
}

void ResetConnection(int fd) {
    linger abort{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(fd);
}

int ConnectLocal(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace qv::test
