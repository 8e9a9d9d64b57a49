#pragma once

#include <string>
#include <vector>

#include "channel/Frame.h"

namespace qv::test {

// The other end of the channel, as Quorvane is: a plain local socket that
// writes frames and reads the assistant's replies, decoded.
class ChannelPeer {
public:
    explicit ChannelPeer(const std::string& path);
    ~ChannelPeer();
    ChannelPeer(const ChannelPeer&) = delete;
    ChannelPeer& operator=(const ChannelPeer&) = delete;

    bool Connected() const { return fd_ >= 0; }
    // A command's message text, packed and framed.
    void Send(const std::string& messageText);
    void SendRaw(const std::string& bytes);
    // The message texts of the replies that have arrived since the last call.
    std::vector<std::string> Replies();
    void Close();

private:
    int fd_ = -1;
    FrameBuffer received_;
};

// A command's text as Quorvane writes it: "name:value" lines ended by CR.
std::string Command(std::initializer_list<std::pair<std::string, std::string>> fields);

}  // namespace qv::test
