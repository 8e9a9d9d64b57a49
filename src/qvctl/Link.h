#pragma once

#include <functional>
#include <string>

#include "foundation/IPCSocket.h"
#include "foundation/RunLoop.h"
#include "protocol/Frame.h"

namespace qv::ctl {

// Why the connection to the assistant is gone, as far as qvctl can tell.
enum class Loss {
    // No socket file at the path: no assistant has been started.
    NotStarted,
    // A socket file that refuses: the assistant has ended (it ends when its
    // peer leaves) and left the file, or is ending.
    NotListening,
    // Connected, then closed with nothing said while the socket file stayed:
    // the assistant takes one peer at a time and closes every further
    // connection at once, unread.
    Busy,
    // It went away after it had answered, or with its socket file.
    WentAway,
};

// What qvctl says about a loss, with what to do.
std::string LossMessage(Loss loss, const std::string& socketPath);

// The connection to the assistant: frames out, the message texts of its
// replies in, whatever the cut of the stream.
class Link {
public:
    Link(RunLoop& loop, const std::string& socketPath);

    std::function<void(const String& messageText)> onReply;
    // The assistant went away, or was never there; replies that came before
    // have been delivered.
    std::function<void(Loss loss)> onLost;

    void Connect() { socket_.Connect(); }
    // Queued until the connection is made; dropped with it if it fails.
    void Send(const String& frame) { socket_.Write(frame); }
    // Raises nothing more.
    void Close() { socket_.Close(); }

private:
    void TakeReplies();
    Loss Diagnose() const;

    IPCSocket socket_;
    std::string path_;
    FrameBuffer frames_;
    bool connected_ = false;
    bool heard_ = false;
};

}  // namespace qv::ctl
