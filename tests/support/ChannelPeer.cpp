#include "support/Support.h"

// Apart from the rest, so that tests without a channel link no codec.
namespace qv::test {

std::vector<std::string> ChannelPeer::Replies() {
    if (fd_ >= 0) received_.Append(ReadAvailable(fd_, 0));
    std::vector<std::string> replies;
    while (const auto payload = received_.TakeFrame()) replies.emplace_back(DecodePayload(payload->Bytes()).Bytes());
    return replies;
}

void ChannelPeer::Close() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
}

}  // namespace qv::test
