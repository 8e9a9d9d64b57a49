#include "support/ChannelPeer.h"

#include <poll.h>
#include <unistd.h>

#include "support/TestPeers.h"

namespace qv::test {

ChannelPeer::ChannelPeer(const std::string& path) : fd_(ConnectLocal(path)) {}

ChannelPeer::~ChannelPeer() { Close(); }

void ChannelPeer::Send(const std::string& messageText) {
    SendRaw(std::string(MakeFrame(String(messageText)).Bytes()));
}

void ChannelPeer::SendRaw(const std::string& bytes) { WriteAll(fd_, bytes); }

std::vector<std::string> ChannelPeer::Replies() {
    char buffer[65536];
    for (;;) {
        pollfd ready{fd_, POLLIN, 0};
        if (fd_ < 0 || poll(&ready, 1, 0) != 1) break;
        const ssize_t n = read(fd_, buffer, sizeof buffer);
        if (n <= 0) break;
        received_.Append(std::string_view(buffer, static_cast<std::size_t>(n)));
    }
    std::vector<std::string> replies;
    while (const auto payload = received_.TakeFrame()) replies.emplace_back(DecodePayload(payload->Bytes()).Bytes());
    return replies;
}

void ChannelPeer::Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

std::string Command(std::initializer_list<std::pair<std::string, std::string>> fields) {
    std::string text;
    for (const auto& [name, value] : fields) text += name + ":" + value + "\r";
    return text;
}

}  // namespace qv::test
