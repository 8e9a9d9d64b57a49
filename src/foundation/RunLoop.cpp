#include "foundation/RunLoop.h"

#include <algorithm>
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

RunLoop::Registration& RunLoop::Registration::operator=(Registration&& other) noexcept {
    if (this != &other) {
        Reset();
        loop_ = std::exchange(other.loop_, nullptr);
        kind_ = other.kind_;
        id_ = other.id_;
    }
    return *this;
}

void RunLoop::Registration::Reset() {
    if (loop_) std::exchange(loop_, nullptr)->Unregister(kind_, id_);
}

void RunLoop::Watch::SetEvents(short events) {
    if (!loop_) return;
    if (auto it = loop_->watches_.find(id_); it != loop_->watches_.end()) it->second.events = events;
}

RunLoop::Watch RunLoop::AddWatch(int fd, short events, ReadyCallback onReady, SourceId source) {
    const std::uint64_t id = nextId_++;
    watches_.emplace(id, WatchEntry{fd, events, std::move(onReady), source, false});
    return Watch(this, Registration::Kind::Watch, id);
}

RunLoop::Watch RunLoop::AddUrgentWatch(int fd, short events, ReadyCallback onReady) {
    const std::uint64_t id = nextId_++;
    watches_.emplace(id, WatchEntry{fd, events, std::move(onReady), kNoSource, true});
    return Watch(this, Registration::Kind::Watch, id);
}

RunLoop::Pending RunLoop::AddTimer(TimePoint due, Callback onDue, SourceId source) {
    const std::uint64_t id = nextId_++;
    timers_.emplace(id, TimerEntry{due, std::move(onDue), source});
    timerOrder_.emplace(due, id);
    return Pending(this, Registration::Kind::Timer, id);
}

RunLoop::Pending RunLoop::Post(Callback call, SourceId source) {
    const std::uint64_t id = nextId_++;
    posted_.emplace(id, PostedCall{std::move(call), source});
    return Pending(this, Registration::Kind::Call, id);
}

void RunLoop::Unregister(Registration::Kind kind, std::uint64_t id) {
    switch (kind) {
        case Registration::Kind::Watch:
            watches_.erase(id);
            break;
        case Registration::Kind::Timer:
            if (auto it = timers_.find(id); it != timers_.end()) {
                timerOrder_.erase({it->second.due, id});
                timers_.erase(it);
            }
            break;
        case Registration::Kind::Call:
            posted_.erase(id);
            break;
    }
}

std::optional<TimePoint> RunLoop::NextTimerDue() const {
    if (timerOrder_.empty()) return std::nullopt;
    return timerOrder_.begin()->first;
}

void RunLoop::Run() {
    while (!stopping_) RunOnce(std::nullopt);
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
    if (stopping_) return;
    std::vector<pollfd> fds;
    std::vector<std::uint64_t> ids;
    CollectWatches([](const WatchEntry&) { return true; }, fds, ids);
    waitStep_->Wait(fds, TimeoutMs(maxWait));
    const auto any = [](SourceId) { return true; };
    Deliver(fds, ids, Delivery::Pass);
    // Only the timers due at the start of this phase: a timer that a handler
    // sets for "now" waits for the next pass, so a busy timer cannot starve
    // the rest. Likewise the calls posted before it.
    FireDueTimers(any, Delivery::Pass);
    RunPosted(any, Delivery::Pass);
}

void RunLoop::Pump(SourceId source) {
    const auto ofSource = [source](SourceId s) { return s == source; };
    std::vector<pollfd> fds;
    std::vector<std::uint64_t> ids;
    CollectWatches([&](const WatchEntry& watch) { return ofSource(watch.source); }, fds, ids);
    if (!fds.empty() && poll(fds.data(), fds.size(), 0) > 0) Deliver(fds, ids, Delivery::Nested);
    FireDueTimers(ofSource, Delivery::Nested);
    RunPosted(ofSource, Delivery::Nested);
}

void RunLoop::Await(std::span<const SourceId> sources, Duration maxWait) {
    const auto ofSources = [sources](SourceId source) {
        return source != kNoSource && std::find(sources.begin(), sources.end(), source) != sources.end();
    };
    Duration wait = maxWait;
    for (const auto& [id, call] : posted_) {
        if (ofSources(call.source)) wait = Duration::zero();
    }
    for (const auto& [due, id] : timerOrder_) {
        if (ofSources(timers_.at(id).source)) wait = std::min(wait, due - clock_.Now());
    }
    std::vector<pollfd> fds;
    std::vector<std::uint64_t> ids;
    CollectWatches([&](const WatchEntry& watch) { return watch.urgent || ofSources(watch.source); }, fds, ids);
    if (poll(fds.data(), fds.size(), CeilToMs(wait)) <= 0) return;
    // Only the urgent ones: the caller delivers what is its own (Pump).
    for (std::size_t i = 0; i < fds.size(); ++i) {
        if (!watches_.at(ids[i]).urgent) fds[i].revents = 0;
    }
    Deliver(fds, ids, Delivery::Nested);
}

void RunLoop::CollectWatches(const std::function<bool(const WatchEntry&)>& wanted, std::vector<pollfd>& fds,
                             std::vector<std::uint64_t>& ids) const {
    for (const auto& [id, watch] : watches_) {
        if (!wanted(watch)) continue;
        fds.push_back(pollfd{watch.fd, watch.events, 0});
        ids.push_back(id);
    }
}

void RunLoop::Call(const Callback& call, Delivery delivery) {
    if (delivery == Delivery::Pass) {
        Invoke(call);
    } else {
        call();
    }
}

bool RunLoop::GoesOn(Delivery delivery) const {
    return delivery == Delivery::Nested || !stopping_;
}

void RunLoop::Deliver(const std::vector<pollfd>& fds, const std::vector<std::uint64_t>& ids, Delivery delivery) {
    for (std::size_t i = 0; i < fds.size() && GoesOn(delivery); ++i) {
        if (fds[i].revents == 0) continue;
        // A handler that ran before may have removed this watch.
        auto it = watches_.find(ids[i]);
        if (it == watches_.end()) continue;
        // A copy: the handler may remove its own watch while it runs.
        const ReadyCallback onReady = it->second.onReady;
        const short revents = fds[i].revents;
        Call([&] { onReady(revents); }, delivery);
    }
}

void RunLoop::FireDueTimers(const std::function<bool(SourceId)>& wanted, Delivery delivery) {
    const TimePoint now = clock_.Now();
    std::vector<std::uint64_t> due;
    for (auto it = timerOrder_.begin(); it != timerOrder_.end() && it->first <= now; ++it) {
        if (wanted(timers_.at(it->second).source)) due.push_back(it->second);
    }
    for (const std::uint64_t id : due) {
        if (!GoesOn(delivery)) return;
        auto it = timers_.find(id);
        if (it == timers_.end()) continue;  // cancelled by an earlier handler
        const Callback onDue = std::move(it->second.onDue);
        timerOrder_.erase({it->second.due, id});
        timers_.erase(it);
        Call(onDue, delivery);
    }
}

void RunLoop::RunPosted(const std::function<bool(SourceId)>& wanted, Delivery delivery) {
    std::vector<std::uint64_t> calls;  // those posted before; later ones wait a round
    for (const auto& [id, posted] : posted_) {
        if (wanted(posted.source)) calls.push_back(id);
    }
    for (const std::uint64_t id : calls) {
        if (!GoesOn(delivery)) return;
        auto it = posted_.find(id);
        if (it == posted_.end()) continue;  // cancelled by an earlier handler
        const Callback call = std::move(it->second.call);
        posted_.erase(it);
        Call(call, delivery);
    }
}

void RunLoop::Invoke(const Callback& call) {
    try {
        call();
    } catch (const EndException&) {
        stopping_ = true;  // the window's Quit has called Stop with its status
    } catch (...) {
        onUnhandled_(std::current_exception());
    }
}

void RunLoop::Stop(int exitStatus) {
    exitStatus_ = exitStatus;
    stopping_ = true;
}

void RunLoop::Quit(int exitStatus) {
    Stop(exitStatus);
    throw EndException();
}

void RunLoop::SetWaitStep(std::unique_ptr<WaitStep> waitStep) {
    waitStep_ = std::move(waitStep);
}

void RunLoop::SetUnhandledExceptionHandler(std::function<void(std::exception_ptr)> handler) {
    onUnhandled_ = std::move(handler);
}

}  // namespace qv
