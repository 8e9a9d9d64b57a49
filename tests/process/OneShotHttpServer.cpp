#include "process/OneShotHttpServer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace qv::test {

namespace {

// Each Accept waits a few seconds; the assistant starts a command only at the
// next tick of its 2-second dispatcher.
constexpr int kAcceptTries = 4;
constexpr int kReadLimitMs = 5000;

std::size_t ContentLength(std::string head) {
    std::ranges::transform(head, head.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::string name = "\r\ncontent-length:";
    const auto at = head.find(name);
    return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + name.size(), nullptr, 10);
}

std::string ReadRequest(int fd) {
    std::string got;
    for (;;) {
        const auto headEnd = got.find("\r\n\r\n");
        if (headEnd != std::string::npos &&
            got.size() >= headEnd + 4 + ContentLength(got.substr(0, headEnd))) {
            return got;
        }
        pollfd ready{fd, POLLIN, 0};
        if (poll(&ready, 1, kReadLimitMs) != 1) return got;
        char buffer[4096];
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) return got;
        got.append(buffer, static_cast<std::size_t>(n));
    }
}

}  // namespace

OneShotHttpServer::OneShotHttpServer(std::string response)
    : response_(std::move(response)), thread_([this] { Serve(); }) {}

OneShotHttpServer::~OneShotHttpServer() {
    if (thread_.joinable()) thread_.join();
}

const std::string& OneShotHttpServer::Request() {
    if (thread_.joinable()) thread_.join();
    return request_;
}

void OneShotHttpServer::Serve() {
    int fd = -1;
    for (int i = 0; i < kAcceptTries && fd < 0; ++i) fd = listener_.Accept();
    if (fd < 0) return;
    request_ = ReadRequest(fd);
    try {
        WriteAll(fd, response_);
    } catch (const std::runtime_error&) {
        // The client went away; the test sees that in what it received.
    }
    close(fd);
}

}  // namespace qv::test
