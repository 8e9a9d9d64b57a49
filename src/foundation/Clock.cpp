#include "foundation/Clock.h"

#include "foundation/platform/Platform.h"

namespace qv {

TimePoint SystemClock::Now() const {
    return TimePoint(platform::Uptime());
}

std::int32_t Ticks(const Clock& clock) {
    const Duration now = clock.Now().time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now);
    const auto rest = now - seconds;
    const std::uint64_t ticks = static_cast<std::uint64_t>(seconds.count()) * 60 +
                                static_cast<std::uint64_t>(rest.count()) * 60 / 1'000'000'000;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks));
}

std::int32_t TicksAfter(std::int32_t ticks, std::int32_t count) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(ticks) + static_cast<std::uint32_t>(count));
}

std::int32_t TicksBetween(std::int32_t from, std::int32_t to) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from));
}

double Microseconds(const Clock& clock) {
    return std::chrono::duration<double, std::micro>(clock.Now().time_since_epoch()).count();
}

}  // namespace qv
