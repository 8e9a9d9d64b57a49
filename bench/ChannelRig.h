#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "http/HTTPSocket.h"
#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"

namespace qv::bench {

// An assistant window on a temporary channel path, with the system clock and
// the headless view, in the middle of a GetPageURL command; and the other end
// of its channel, which reads everything on a thread of its own, as Quorvane
// does in a process of its own.
class ChannelRig {
public:
    enum class KeepFrames { No, Yes };

    // Check Ready() before use.
    explicit ChannelRig(KeepFrames keep = KeepFrames::No);
    ~ChannelRig();
    ChannelRig(const ChannelRig&) = delete;
    ChannelRig& operator=(const ChannelRig&) = delete;

    bool Ready() const { return ready_; }

    // What a fetch's end does with a page: sendPageToQuorvane, then the run
    // loop until the peer has the whole frame. False if it never arrived.
    bool DeliverPage(const HTTPSocket::Headers& headers, const String& content);

    // A GetPageURL command of `url` and its report; a Status command and its
    // report. False if the report never arrived.
    bool Fetch(const std::string& url);
    bool Status();

    // The last whole frame the peer received, when it keeps them.
    std::string LastFrame();

private:
    void Drain();
    // Runs `command` with its word as the current command, then the loop until
    // the peer has one more whole frame.
    bool RunCommand(const char* word, const std::string& text);

    std::string dir_;
    SystemClock clock_;
    RunLoop loop_{clock_};
    HeadlessView view_;
    std::unique_ptr<RSSDownloadWindow> window_;
    int peer_ = -1;
    bool ready_ = false;
    const KeepFrames keep_;
    std::thread reader_;
    // The reader counts whole frames (and keeps the last) under the mutex and
    // wakes a DeliverPage that waits for it.
    std::mutex framesMutex_;
    std::condition_variable frameArrived_;
    std::atomic<std::size_t> framesReceived_{0};
    std::string lastFrame_;
};

// Headers as a web server sends them with a page.
HTTPSocket::Headers TypicalHeaders(std::size_t contentLength);

}  // namespace qv::bench
