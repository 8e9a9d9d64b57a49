#pragma once

#include <functional>
#include <string>

#include "foundation/IPCSocket.h"
#include "foundation/RunLoop.h"
#include "protocol/Frame.h"

namespace qv::ctl {

// The connection to the assistant: frames out, the message texts of its
// replies in, whatever the cut of the stream.
class Link {
public:
    Link(RunLoop& loop, const std::string& socketPath);

    std::function<void(const String& messageText)> onReply;
    // The assistant went away, or was never there; replies that came before
    // have been delivered.
    std::function<void()> onLost;

    void Connect() { socket_.Connect(); }
    // Queued until the connection is made; dropped with it if it fails.
    void Send(const String& frame) { socket_.Write(frame); }
    // A lost connection reads as not connected even before onLost has run.
    bool IsConnected() const { return socket_.IsConnected(); }
    // Raises nothing more.
    void Close() { socket_.Close(); }

private:
    void TakeReplies();

    IPCSocket socket_;
    FrameBuffer frames_;
};

}  // namespace qv::ctl
