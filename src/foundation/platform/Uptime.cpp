#include <time.h>

#include "foundation/platform/Platform.h"

namespace qv::platform {

// On the Mac the desktop application's tick count is the system's uptime, as
// Carbon's TickCount and UpTime give it: mach_absolute_time's clock, which
// CLOCK_UPTIME_RAW reads, so both processes see the same count. It stands
// still while the machine sleeps (CLOCK_MONOTONIC there runs on through sleep
// and would not agree). Linux's CLOCK_MONOTONIC leaves out suspend alike, and
// is POSIX's clock elsewhere.
#if defined(__APPLE__)
constexpr clockid_t kUptimeClock = CLOCK_UPTIME_RAW;
#else
constexpr clockid_t kUptimeClock = CLOCK_MONOTONIC;
#endif

std::chrono::nanoseconds Uptime() {
    timespec now{};
    clock_gettime(kUptimeClock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace qv::platform
