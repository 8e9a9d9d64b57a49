#include "qvctl/Link.h"

namespace qv::ctl {

Link::Link(RunLoop& loop, const std::string& socketPath) : socket_(loop) {
    socket_.SetPath(String(socketPath));
    socket_.onDataAvailable = [this] { TakeReplies(); };
    socket_.onError = [this] {
        if (onLost) onLost();
    };
}

void Link::TakeReplies() {
    frames_.Append(socket_.ReadAll().Bytes());
    // A handler may close the link; what is left then is not for anyone.
    while (socket_.IsConnected()) {
        const auto payload = frames_.TakeFrame();
        if (!payload) return;
        if (onReply) onReply(DecodePayload(payload->Bytes()));
    }
}

}  // namespace qv::ctl
