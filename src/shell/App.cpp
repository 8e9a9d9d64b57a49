#include "shell/App.h"

#include <syslog.h>

#include <csignal>

#include "foundation/DebugLog.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

namespace {

constexpr const char* kChannelPath = "/tmp/qvipc";

}  // namespace

App::App() {
    openlog("QVAssistant", LOG_PID, LOG_USER);
    // A peer that vanishes mid-write must end in an Error event, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
}

App::~App() { closelog(); }

int App::Run() {
    try {
        RSSDownloadWindow window(loop_, clock_, view_, kChannelPath);
        loop_.Run();
    } catch (...) {
        // The last resort for start-up: logged, and the process ends as usual.
        System::DebugLogUnhandled(std::current_exception());
    }
    return loop_.ExitStatus();
}

}  // namespace qv
