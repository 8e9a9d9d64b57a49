#pragma once

#include <poll.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "foundation/Clock.h"

namespace qv {

// How one pass of the loop waits for its descriptors. The default waits in
// poll(2); a GUI supplies one that blocks in its own dispatcher instead, so the
// window and the sockets share one thread and the process sleeps when idle.
class WaitStep {
public:
    virtual ~WaitStep() = default;
    // Waits until one of `fds` is ready or `timeoutMs` has passed (-1: no limit),
    // and fills in each revents.
    virtual void Wait(std::span<pollfd> fds, int timeoutMs) = 0;
};

// The one event loop. It owns every event source but no descriptor: watchers on
// file descriptors, timers on the injected clock, and deferred calls. A pass
// waits once and then delivers, one handler at a time: ready descriptors, due
// timers in order of their due time, then the deferred calls queued before the
// pass began.
class RunLoop {
public:
    using Callback = std::function<void()>;
    using ReadyCallback = std::function<void(short revents)>;
    using WatchId = std::uint64_t;
    using TimerId = std::uint64_t;

    explicit RunLoop(Clock& clock);
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    ~RunLoop();

    Clock& GetClock() const { return clock_; }

    WatchId AddWatch(int fd, short events, ReadyCallback onReady);
    void SetWatchEvents(WatchId id, short events);
    void RemoveWatch(WatchId id);

    // A one-shot entry due at `due` on the loop's clock.
    TimerId AddTimer(Duration due, Callback onDue);
    void CancelTimer(TimerId id);
    std::optional<Duration> NextTimerDue() const;

    // Runs `call` in a later pass, after the calls posted before it.
    void Post(Callback call);

    // Passes until Quit.
    void Run();
    // One pass. `maxWait` bounds the wait in real time (nullopt: as long as the
    // next timer allows). With a manual clock a test passes a short bound.
    void RunOnce(std::optional<Duration> maxWait);

    // True when the last pass was waiting at `time`, not running a handler: a
    // repeating timer drops a tick that fell due while a handler ran.
    bool WasWaitingAt(Duration time) const { return waitStarted_ <= time && time <= waitEnded_; }

    void Quit(int status);
    bool IsQuitting() const { return quitting_; }
    int ExitStatus() const { return exitStatus_; }

    void SetWaitStep(std::unique_ptr<WaitStep> waitStep);
    // Receives exceptions that escape a handler; the loop then goes on. The
    // default writes a debug log line.
    void SetUnhandledExceptionHandler(std::function<void(std::exception_ptr)> handler);

private:
    struct Watch {
        int fd;
        short events;
        ReadyCallback onReady;
    };
    struct TimerEntry {
        Duration due;
        Callback onDue;
    };

    int TimeoutMs(std::optional<Duration> maxWait) const;
    void DeliverReady(const std::vector<pollfd>& fds, const std::vector<WatchId>& ids);
    void FireDueTimers();
    void RunPosted();
    void Invoke(const Callback& call);

    Clock& clock_;
    std::unique_ptr<WaitStep> waitStep_;
    std::function<void(std::exception_ptr)> onUnhandled_;
    std::map<WatchId, Watch> watches_;
    std::map<TimerId, TimerEntry> timers_;
    std::set<std::pair<Duration, TimerId>> timerOrder_;
    std::vector<Callback> posted_;
    std::uint64_t nextId_ = 1;
    Duration waitStarted_{};
    Duration waitEnded_{};
    bool quitting_ = false;
    int exitStatus_ = 0;
};

}  // namespace qv
