#include <time.h>

#include "foundation/platform/Platform.h"

namespace qv::platform {

// On the Mac the desktop application's tick count is mach_absolute_time's
// uptime, which stands still in sleep: CLOCK_UPTIME_RAW, not CLOCK_MONOTONIC,
// which runs on there. Linux's CLOCK_MONOTONIC leaves out suspend alike.
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
