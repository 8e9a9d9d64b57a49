#pragma once

#include <chrono>
#include <cstdint>

namespace qv {

// A span of time.
using Duration = std::chrono::nanoseconds;

class Clock;
// A point in time on the loop's monotonic clock (its start is arbitrary). Points
// and spans are distinct types, so a deadline cannot be passed as a period.
using TimePoint = std::chrono::time_point<Clock, Duration>;

// The one source of time. Every clock read and every timer goes through a Clock,
// so a test can swap in a ManualClock and run a 60-second timer in no time.
class Clock {
public:
    virtual ~Clock() = default;
    virtual TimePoint Now() const = 0;
};

// The system-wide uptime clock (platform::Uptime). Another process that reads
// it sees the same time, which is what lets Quorvane and the assistant agree on
// a tick count.
class SystemClock final : public Clock {
public:
    TimePoint Now() const override;
};

// Time that moves only when told to.
class ManualClock final : public Clock {
public:
    explicit ManualClock(TimePoint start = TimePoint(std::chrono::hours(1))) : now_(start) {}
    TimePoint Now() const override { return now_; }
    void Advance(Duration by) { now_ += by; }
    void Set(TimePoint to) { now_ = to; }

private:
    TimePoint now_;
};

// 60 ticks a second, cut to signed 32 bits (the count wraps after about 414 days
// of uptime, as the peer's own count does).
std::int32_t Ticks(const Clock& clock);

// Tick arithmetic that wraps as the count does, so that a deadline or a due
// tick works across the wrap; compare ticks by TicksBetween, never by sign.
std::int32_t TicksAfter(std::int32_t ticks, std::int32_t count);
// `to` less `from`: right across the wrap for spans under about 207 days.
std::int32_t TicksBetween(std::int32_t from, std::int32_t to);

// Microseconds since the clock's start.
double Microseconds(const Clock& clock);

}  // namespace qv
