#include "qvctl/Link.h"

#include <sys/stat.h>

namespace qv::ctl {

Link::Link(RunLoop& loop, const std::string& socketPath) : socket_(loop), path_(socketPath) {
    socket_.SetPath(String(socketPath));
    socket_.onConnected = [this] { connected_ = true; };
    socket_.onDataAvailable = [this] { TakeReplies(); };
    socket_.onError = [this] {
        if (onLost) onLost(Diagnose());
    };
}

void Link::TakeReplies() {
    const String bytes = socket_.ReadAll();
    heard_ = heard_ || !bytes.Bytes().empty();
    frames_.Append(bytes.Bytes());
    // A handler may close the link; what is left then is not for anyone.
    while (socket_.IsConnected()) {
        const auto payload = frames_.TakeFrame();
        if (!payload) return;
        if (onReply) onReply(DecodePayload(payload->Bytes()));
    }
}

// Never by connecting again: an assistant that is free would take the probe
// for its one peer and end when it left.
Loss Link::Diagnose() const {
    struct stat file {};
    const bool there = lstat(path_.c_str(), &file) == 0;
    if (!connected_) return there ? Loss::NotListening : Loss::NotStarted;
    return there && !heard_ ? Loss::Busy : Loss::WentAway;
}

std::string LossMessage(Loss loss, const std::string& socketPath) {
    switch (loss) {
        case Loss::NotStarted:
            return "qvctl: no assistant at " + socketPath +
                   " (no socket file): start it with qvassistant\n(it ends when its peer leaves, so "
                   "after each command but session)\n";
        case Loss::NotListening:
            return "qvctl: nothing listens at " + socketPath +
                   ": the assistant has ended, as it does when\nits peer leaves; start it again\n";
        case Loss::Busy:
            return "qvctl: the assistant at " + socketPath +
                   " is busy with another peer (it takes one at a\ntime): wait until that one "
                   "leaves, or give all commands to one qvctl session\n";
        case Loss::WentAway:
            break;
    }
    return "qvctl: the assistant at " + socketPath + " went away before the reply\n";
}

}  // namespace qv::ctl
