#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "foundation/ByteQueue.h"
#include "foundation/ConnectionRace.h"
#include "foundation/Descriptor.h"
#include "foundation/RunLoop.h"
#include "foundation/SendQueue.h"
#include "foundation/String.h"

namespace qv {

// The machinery that TCPSocket and IPCSocket share: one non-blocking
// descriptor, buffered input and output, and the events.
//
// Event rules that the logic above depends on:
//  - Events run on the loop's thread, from the run loop or from Poll, one at a
//    time, in the order Connected, DataAvailable, SendComplete, Error.
//  - DataAvailable fires when input arrives; input that a handler leaves in the
//    buffer stays there (Lookahead) until it is read.
//  - Error is the only sign of a lost connection: a remote close raises it,
//    and so does a send that the peer no longer takes. Data that arrived
//    before is offered first and stays readable during Error.
//  - A local Close raises no Error and drops any event not yet delivered.
//  - Write queues every byte and never fails visibly, even on a closed socket.
class SocketCore {
public:
    explicit SocketCore(RunLoop& loop);
    SocketCore(const SocketCore&) = delete;
    SocketCore& operator=(const SocketCore&) = delete;
    virtual ~SocketCore();

    std::function<void()> onConnected;
    std::function<void()> onDataAvailable;
    std::function<void()> onSendComplete;
    std::function<void()> onError;

    // Ends the connection, or the attempt to make one.
    void Close();
    // Drops buffered input and unsent output.
    void Purge();
    // Looks at this socket at once, without waiting, and delivers its due events
    // before returning. It runs no other socket's events and no timers.
    void Poll() { loop_.Pump(source_); }
    // What this socket's registrations carry: a caller that polls in a loop
    // sleeps between polls in RunLoop::Await on it, instead of spinning.
    RunLoop::SourceId Source() const { return source_; }

    bool IsConnected() const { return state_ == State::Connected; }
    std::int32_t LastErrorCode() const { return lastErrorCode_; }
    std::int32_t BytesAvailable() const;
    std::int32_t BytesLeftToSend() const;

    // How the input buffer gets its room; see ByteQueue::SetRoomMaker.
    void SetInputRoomMaker(ByteQueue::RoomMaker makeRoom) { input_.SetRoomMaker(std::move(makeRoom)); }

    String Read(std::int32_t count);
    String ReadAll();
    String Lookahead() const;
    void Write(const String& data);

protected:
    enum class State { Closed, Resolving, Listening, Connecting, Connected };

    RunLoop& Loop() const { return loop_; }
    // Starts watching `fd`, which this object now owns.
    void Adopt(Descriptor fd, State state);
    // Starts connecting to one of `addresses` (see ConnectionRace); Connected
    // or Error follows.
    void StartConnecting(const std::vector<SocketAddress>& addresses, std::uint16_t port);
    // Records a failure; the Error event follows from the loop or from Poll.
    void Fail(std::int32_t code);
    // Marks the connection as made; the Connected event follows.
    void MarkConnected();
    void SetResolving() { state_ = State::Resolving; }
    // Listening happens on a descriptor of the subclass's own; this socket's
    // descriptor comes with the peer.
    void SetListening() { state_ = State::Listening; }
    // Subclasses drop their own in-progress work (a lookup, a listener) here.
    virtual void OnClose() {}
    // No room can be had for the input that is arriving. By default the
    // connection counts as lost for want of resources (Error, 108).
    virtual void InputOutOfRoom();
    void CloseDescriptor();
    void ScheduleDelivery();
    // The input as it is buffered, for a subclass that keeps a body where it
    // is read (see ByteQueue::Keep); kept bytes no longer count as available.
    ByteQueue& Input() { return input_; }
    const ByteQueue& Input() const { return input_; }

private:
    void Service(short revents);
    void ReadInput();
    void FlushOutput();
    short Interest() const;
    void UpdateInterest();
    void DeliverPending();

    RunLoop& loop_;
    const RunLoop::SourceId source_;
    Descriptor fd_;
    State state_ = State::Closed;
    RunLoop::Watch watch_;
    RunLoop::Pending delivery_;
    std::unique_ptr<ConnectionRace> race_;
    ByteQueue input_;
    SendQueue output_;
    std::int32_t lastErrorCode_ = 0;
    bool pendingConnected_ = false;
    bool pendingData_ = false;
    bool pendingSendComplete_ = false;
    bool pendingError_ = false;
    bool deliveryScheduled_ = false;
    // While events are delivered: the flag that the destructor sets.
    bool* destroyed_ = nullptr;
};

}  // namespace qv
