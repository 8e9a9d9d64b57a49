#include <unistd.h>

#include <string>

#include "foundation/platform/Platform.h"

namespace qv::platform {

std::string SessionFolder() {
#if defined(QV_LINUX_CALLS)
    // The login session's runtime folder (systemd-logind's, 0700).
    return "/run/user/" + std::to_string(geteuid());
#elif defined(__APPLE__)
    // The user's cache folder under /var/folders (0700), which the system
    // never cleans on its own. Not the temporary one beside it: the system
    // removes files there that nobody has read for 3 days, and a lock held for
    // longer would go from under a live instance and let a second one in.
    char folder[1024];
    const std::size_t length = confstr(_CS_DARWIN_USER_CACHE_DIR, folder, sizeof folder);
    if (length == 0 || length > sizeof folder) return std::string();
    std::string path(folder);
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
#else
    return std::string();
#endif
}

}  // namespace qv::platform
