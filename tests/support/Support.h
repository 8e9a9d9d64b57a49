#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/socket.h>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "protocol/CommandText.h"
#include "protocol/Frame.h"

// What the tests share: time, folders, plain sockets and a peer of the channel.
namespace qv::test {

// A clock that moves on by `step` at every reading, so that code which waits
// by watching the clock sees time pass at full speed. `onReading` runs at
// each reading: the world changing while the code under test goes on.
class SteppingClock final : public Clock {
public:
    explicit SteppingClock(Duration step, TimePoint start = TimePoint(std::chrono::hours(1))) : step_(step), now_(start) {}
    TimePoint Now() const override {
        if (onReading) onReading();
        return now_ += step_;
    }
    std::function<void()> onReading;

private:
    Duration step_;
    mutable TimePoint now_;
};

// Moves a manual clock to `until`, stopping at every timer due on the way, so
// timers fire in order as they would in real time.
void AdvanceTo(RunLoop& loop, ManualClock& clock, TimePoint until);
inline void AdvanceBy(RunLoop& loop, ManualClock& clock, Duration by) { AdvanceTo(loop, clock, clock.Now() + by); }
// Runs passes until `done` holds, waiting at most `limit` of real time.
bool RunUntil(RunLoop& loop, const std::function<bool()>& done,
              std::chrono::milliseconds limit = std::chrono::milliseconds(3000));

// A folder under /tmp for one test, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A plain blocking TCP server on the loopback address of `family` (127.0.0.1
// or ::1), on `port` or one the system chose.
class TcpListener {
public:
    explicit TcpListener(int family = AF_INET, std::int32_t port = 0, int backlog = 8);
    ~TcpListener() { StopListening(); }
    TcpListener(const TcpListener&) = delete;
    TcpListener& operator=(const TcpListener&) = delete;
    std::int32_t Port() const { return port_; }
    std::string Url(const std::string& path = "/") const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
    // The next connection within `waitMs`; -1 if none came.
    int Accept(int waitMs = 3000);
    void StopListening();

private:
    int fd_ = -1;
    std::int32_t port_ = 0;
};

// While it lives, no new descriptor can be had: the soft limit stands at the
// lowest number that is free.
class NoDescriptorLeft {
public:
    NoDescriptorLeft();
    ~NoDescriptorLeft();
    NoDescriptorLeft(const NoDescriptorLeft&) = delete;
    NoDescriptorLeft& operator=(const NoDescriptorLeft&) = delete;

private:
    rlimit saved_{};
};

void WriteAll(int fd, const std::string& bytes);
// What arrives until the peer closes or nothing more comes for `quietMs`.
std::string ReadAvailable(int fd, int quietMs = 100);
// Closes with a reset instead of an orderly end.
void ResetConnection(int fd);
// A plain local stream socket connected to `path`; -1 on failure.
int ConnectLocal(const std::string& path);

// `size` bytes that seldom repeat, so that a lost, doubled or misplaced piece
// of a large transfer shows.
std::string Pattern(std::size_t size, int step = 1);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);

// A command's text as Quorvane writes it: "name:value" lines ended by CR.
std::string Command(std::initializer_list<Field> fields);
// The copy's reports as the channel carries them.
inline std::string CopyEnd(const std::string& tag, const std::string& status) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: " + tag + "\r\nStatus: " + status + "\r\nHTTPError: \r\n";
}
inline std::string CopyProgress(const std::string& tag, const std::string& barPos, const std::string& message) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: " + tag + "\r\nStatus: InProgress\r\nBarPos: " + barPos +
           "\r\nMsgStr: " + message + "\r\nHTTPError: \r\n";
}
// A message text packed and framed, as it goes over the channel.
inline std::string Frame(const std::string& messageText) { return std::string(MakeFrame(String(messageText)).Bytes()); }

// The other end of the channel, as Quorvane is: a plain local socket that
// writes frames and reads the assistant's replies, decoded.
class ChannelPeer {
public:
    explicit ChannelPeer(const std::string& path) : fd_(ConnectLocal(path)) {}
    ~ChannelPeer() { Close(); }
    ChannelPeer(const ChannelPeer&) = delete;
    ChannelPeer& operator=(const ChannelPeer&) = delete;
    // A command's message text, packed and framed.
    void Send(const std::string& messageText) { SendRaw(Frame(messageText)); }
    void SendRaw(const std::string& bytes) { WriteAll(fd_, bytes); }
    // The message texts of the replies that have arrived since the last call.
    std::vector<std::string> Replies();
    void Close();

private:
    int fd_;
    FrameBuffer received_;
};

}  // namespace qv::test
