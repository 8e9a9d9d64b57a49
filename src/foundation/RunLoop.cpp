#include "foundation/RunLoop.h"

#include <limits>

#include "foundation/DebugLog.h"
#include "foundation/Exceptions.h"

namespace qv {

namespace {

class PollWaitStep final : public WaitStep {
public:
    void Wait(std::span<pollfd> fds, int timeoutMs) override {
        if (poll(fds.data(), fds.size(), timeoutMs) < 0) {
            // EINTR: a signal arrived; the caller's next pass looks again.
            for (pollfd& fd : fds) fd.revents = 0;
        }
    }
};

int CeilToMs(Duration d) {
    if (d <= Duration::zero()) return 0;
    const auto ms = std::chrono::ceil<std::chrono::milliseconds>(d).count();
    return ms > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max() : static_cast<int>(ms);
}

}  // namespace

RunLoop::RunLoop(Clock& clock)
    : clock_(clock), waitStep_(std::make_unique<PollWaitStep>()), onUnhandled_(System::DebugLogUnhandled) {}

RunLoop::~RunLoop() = default;

RunLoop::WatchId RunLoop::AddWatch(int fd, short events, ReadyCallback onReady) {
    const WatchId id = nextId_++;
    watches_.emplace(id, Watch{fd, events, std::move(onReady)});
    return id;
}

void RunLoop::SetWatchEvents(WatchId id, short events) {
    if (auto it = watches_.find(id); it != watches_.end()) it->second.events = events;
}

void RunLoop::RemoveWatch(WatchId id) { watches_.erase(id); }

RunLoop::TimerId RunLoop::AddTimer(Duration due, Callback onDue) {
    const TimerId id = nextId_++;
    timers_.emplace(id, TimerEntry{due, std::move(onDue)});
    timerOrder_.emplace(due, id);
    return id;
}

void RunLoop::CancelTimer(TimerId id) {
    auto it = timers_.find(id);
    if (it == timers_.end()) return;
    timerOrder_.erase({it->second.due, id});
    timers_.erase(it);
}

std::optional<Duration> RunLoop::NextTimerDue() const {
    if (timerOrder_.empty()) return std::nullopt;
    return timerOrder_.begin()->first;
}

void RunLoop::Post(Callback call) { posted_.push_back(std::move(call)); }

void RunLoop::Run() {
    while (!quitting_) RunOnce(std::nullopt);
}

int RunLoop::TimeoutMs(std::optional<Duration> maxWait) const {
    if (!posted_.empty()) return 0;
    int timeout = -1;
    if (const auto due = NextTimerDue()) timeout = CeilToMs(*due - clock_.Now());
    if (maxWait) {
        const int bound = CeilToMs(*maxWait);
        timeout = timeout < 0 ? bound : std::min(timeout, bound);
    }
    return timeout;
}

void RunLoop::RunOnce(std::optional<Duration> maxWait) {
    if (quitting_) return;
    std::vector<pollfd> fds;
    std::vector<WatchId> ids;
    fds.reserve(watches_.size());
    ids.reserve(watches_.size());
    for (const auto& [id, watch] : watches_) {
        fds.push_back(pollfd{watch.fd, watch.events, 0});
        ids.push_back(id);
    }
    waitStarted_ = clock_.Now();
    waitStep_->Wait(fds, TimeoutMs(maxWait));
    waitEnded_ = clock_.Now();
    DeliverReady(fds, ids);
    FireDueTimers();
    RunPosted();
}

void RunLoop::DeliverReady(const std::vector<pollfd>& fds, const std::vector<WatchId>& ids) {
    for (std::size_t i = 0; i < fds.size() && !quitting_; ++i) {
        if (fds[i].revents == 0) continue;
        // A handler that ran before may have removed this watch.
        auto it = watches_.find(ids[i]);
        if (it == watches_.end() || it->second.fd != fds[i].fd) continue;
        ReadyCallback onReady = it->second.onReady;
        const short revents = fds[i].revents;
        Invoke([&] { onReady(revents); });
    }
}

void RunLoop::FireDueTimers() {
    // Only what is due at the start of this phase: a timer that a handler sets
    // for "now" waits for the next pass, so a busy timer cannot starve the rest.
    const Duration now = clock_.Now();
    std::vector<TimerId> due;
    for (auto it = timerOrder_.begin(); it != timerOrder_.end() && it->first <= now; ++it) due.push_back(it->second);
    for (TimerId id : due) {
        if (quitting_) return;
        auto it = timers_.find(id);
        if (it == timers_.end()) continue;  // cancelled by an earlier handler
        Callback onDue = std::move(it->second.onDue);
        timerOrder_.erase({it->second.due, id});
        timers_.erase(it);
        Invoke(onDue);
    }
}

void RunLoop::RunPosted() {
    std::vector<Callback> calls;
    calls.swap(posted_);
    for (const Callback& call : calls) {
        if (quitting_) return;
        Invoke(call);
    }
}

void RunLoop::Invoke(const Callback& call) {
    try {
        call();
    } catch (const EndException&) {
        quitting_ = true;  // Quit has recorded the status already.
    } catch (...) {
        onUnhandled_(std::current_exception());
    }
}

void RunLoop::Quit(int status) {
    exitStatus_ = status;
    quitting_ = true;
}

void RunLoop::SetWaitStep(std::unique_ptr<WaitStep> waitStep) { waitStep_ = std::move(waitStep); }

void RunLoop::SetUnhandledExceptionHandler(std::function<void(std::exception_ptr)> handler) {
    onUnhandled_ = std::move(handler);
}

}  // namespace qv
