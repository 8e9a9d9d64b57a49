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
//
// Every registration is owned by a handle that unregisters it when destroyed
// (or reset), so an owner's lifetime is its registrations' lifetime and no
// event ever reaches an owner that has gone. A handle must not outlive its loop.
class RunLoop {
public:
    using Callback = std::function<void()>;
    using ReadyCallback = std::function<void(short revents)>;

    // A registration with the loop, move-only. Empty when default-made, moved
    // from or reset; a timer's or a call's handle stays non-empty after it ran,
    // and resetting it then does nothing.
    class Registration {
    public:
        Registration() = default;
        Registration(Registration&& other) noexcept { *this = std::move(other); }
        Registration& operator=(Registration&& other) noexcept;
        ~Registration() { Reset(); }
        void Reset();
        explicit operator bool() const { return loop_ != nullptr; }

    protected:
        enum class Kind { Watch, Timer, Call };
        Registration(RunLoop* loop, Kind kind, std::uint64_t id) : loop_(loop), kind_(kind), id_(id) {}
        RunLoop* loop_ = nullptr;
        Kind kind_ = Kind::Watch;
        std::uint64_t id_ = 0;

        friend class RunLoop;
    };
    // A watch on a descriptor; its interest can change while it lives.
    class Watch final : public Registration {
    public:
        Watch() = default;
        void SetEvents(short events);

    private:
        using Registration::Registration;
        friend class RunLoop;
    };
    // A one-shot timer entry, or a call posted for a later pass.
    class Pending final : public Registration {
    public:
        Pending() = default;

    private:
        using Registration::Registration;
        friend class RunLoop;
    };

    // The registrations of one owner (a socket, with its name lookup and its
    // connection attempts) carry its source, so that a handler can deliver
    // that owner's events alone (Pump) or wait for them (Await). 0: none.
    using SourceId = std::uint64_t;
    static constexpr SourceId kNoSource = 0;

    explicit RunLoop(Clock& clock);
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    ~RunLoop();

    Clock& GetClock() const { return clock_; }

    SourceId NewSource() { return nextSource_++; }

    [[nodiscard]] Watch AddWatch(int fd, short events, ReadyCallback onReady, SourceId source = kNoSource);
    // A watch that every wait of the thread delivers, also that of a handler
    // which waits without letting the rest of the program in (Await): the
    // signals that end the process.
    [[nodiscard]] Watch AddUrgentWatch(int fd, short events, ReadyCallback onReady);
    // A one-shot entry due at `due` on the loop's clock.
    [[nodiscard]] Pending AddTimer(TimePoint due, Callback onDue, SourceId source = kNoSource);
    std::optional<TimePoint> NextTimerDue() const;
    // Runs `call` in a later pass, after the calls posted before it.
    [[nodiscard]] Pending Post(Callback call, SourceId source = kNoSource);

    // Passes until Stop.
    void Run();
    // One pass. `maxWait` bounds the wait in real time (nullopt: as long as the
    // next timer allows). With a manual clock a test passes a short bound.
    void RunOnce(std::optional<Duration> maxWait);

    // Ends Run after the handler that asks, with the process's exit status.
    // It returns to its caller.
    void Stop(int exitStatus);
    // Stops, and unwinds from the handler that asks back to the loop
    // (EndException), so that it never returns into code that would go on
    // using what has ended, even from a Poll nested in a long handler.
    [[noreturn]] void Quit(int exitStatus);
    bool Stopping() const { return stopping_; }
    int ExitStatus() const { return exitStatus_; }

    // For code inside a handler that must see one owner's events and no other
    // handler's (a socket's Poll): delivers, without waiting and on the
    // caller's stack, the ready watches of `source`, its due timers and the
    // calls it posted before. What a handler throws goes to the caller.
    void Pump(SourceId source);
    // For a handler that must wait inside the loop's thread without running
    // other handlers (the copy's pause, the blocking HTTP forms): waits up to
    // `maxWait` until one of `sources` has something to deliver, or an urgent
    // watch is ready, and delivers the urgent watches alone, on the caller's
    // stack. With no wait it only delivers what is urgent.
    void Await(std::span<const SourceId> sources, Duration maxWait);

    void SetWaitStep(std::unique_ptr<WaitStep> waitStep);
    // Receives exceptions that escape a handler; the loop then goes on. The
    // default writes a debug log line.
    void SetUnhandledExceptionHandler(std::function<void(std::exception_ptr)> handler);

private:
    struct WatchEntry {
        int fd;
        short events;
        ReadyCallback onReady;
        SourceId source;
        bool urgent;
    };
    struct TimerEntry {
        TimePoint due;
        Callback onDue;
        SourceId source;
    };
    struct PostedCall {
        Callback call;
        SourceId source;
    };

    // How handlers run: in the loop's own pass, each guarded (an exception is
    // reported and the pass goes on, a stop ends it), or on the stack of a
    // handler that pumps, where what they throw goes to that handler.
    enum class Delivery { Pass, Nested };

    void Unregister(Registration::Kind kind, std::uint64_t id);
    int TimeoutMs(std::optional<Duration> maxWait) const;
    void CollectWatches(const std::function<bool(const WatchEntry&)>& wanted, std::vector<pollfd>& fds,
                        std::vector<std::uint64_t>& ids) const;
    void Deliver(const std::vector<pollfd>& fds, const std::vector<std::uint64_t>& ids, Delivery delivery);
    void FireDueTimers(const std::function<bool(SourceId)>& wanted, Delivery delivery);
    void RunPosted(const std::function<bool(SourceId)>& wanted, Delivery delivery);
    void Call(const Callback& call, Delivery delivery);
    bool GoesOn(Delivery delivery) const;
    void Invoke(const Callback& call);

    Clock& clock_;
    std::unique_ptr<WaitStep> waitStep_;
    std::function<void(std::exception_ptr)> onUnhandled_;
    std::map<std::uint64_t, WatchEntry> watches_;
    std::map<std::uint64_t, TimerEntry> timers_;
    std::set<std::pair<TimePoint, std::uint64_t>> timerOrder_;
    // Posted calls in order.
    std::map<std::uint64_t, PostedCall> posted_;
    std::uint64_t nextId_ = 1;
    SourceId nextSource_ = 1;
    bool stopping_ = false;
    int exitStatus_ = 0;
};

}  // namespace qv
