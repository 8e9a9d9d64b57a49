#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/IPCSocket.h"
#include "foundation/RunLoop.h"
#include "foundation/Timer.h"
#include "protocol/CommandState.h"
#include "protocol/Frame.h"
#include "protocol/ReportSink.h"

namespace qv {

// One queued command: its word and the whole decoded text of its frame.
struct CommandQueueItemClass {
    String CommandType;
    String CommandFull;
};

// The channel to Quorvane: the socket at its fixed path, the frames that come
// in, the queue of commands they make, and the dispatcher that starts one
// command at a time, every 2000 ms. It owns what it needs for that; what a
// command does is the window's to decide (processCommand), and a copy that
// runs is the copy's to stop.
class CommandChannel final : public ReportSink {
public:
    // What the channel asks of the rest of the assistant.
    struct Handlers {
        // The peer has come.
        std::function<void()> connected;
        // Runs a command taken off the queue; its word is in CommandStr.
        std::function<void(const String& text)> processCommand;
        // Whether a copy runs, and stopping it: a CopyFileAbort that comes
        // during a copy passes the queue.
        std::function<bool()> isFileCopyInProgress;
        std::function<void()> killCopy;
    };

    CommandChannel(RunLoop& loop, CommandState& command, String path, Handlers handlers);

    IPCSocket QVIPCSocket;
    FrameBuffer QVIPCBuffer;
    std::vector<std::shared_ptr<CommandQueueItemClass>> CommandQueueItemArray;
    Timer CommandDispatchTimer;

    // Starts the dispatcher's ticks, for the life of the channel.
    void StartDispatcher();

    void QVIPCSocket_Connected();
    void QVIPCSocket_DataAvailable();
    void QVIPCSocket_Error();
    // Cuts what came into frames and queues their commands (the work of
    // QVIPCSocket_DataAvailable, behind its reading of the socket).
    void TakeIn(std::string_view bytes);

    void RSSSendCommand(const String& text, std::int32_t errorCode) override;
    bool IsConnected() const override { return QVIPCSocket.IsConnected(); }

    void CommandDispatchTimer_Action();
    void doNextCommand();

private:
    RunLoop& loop_;
    CommandState& command_;
    Handlers handlers_;
};

}  // namespace qv
