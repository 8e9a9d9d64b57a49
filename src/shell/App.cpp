#include "shell/App.h"

#include <syslog.h>

#include <csignal>
#include <cstdio>

#include "foundation/Clock.h"
#include "foundation/DebugLog.h"
#include "foundation/RunLoop.h"
#include "shell/HeadlessView.h"
#include "shell/QuitOnSignal.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

namespace {

constexpr const char* kChannelPath = "/tmp/qvipc";

}  // namespace

int RunApp() {
    openlog("QVAssistant", LOG_PID, LOG_USER);
    // A peer that vanishes mid-write must end in an Error event, not a signal.
    std::signal(SIGPIPE, SIG_IGN);

    SystemClock clock;
    RunLoop loop(clock);
    QuitOnSignal quitOnSignal(loop);
    HeadlessView view(stderr);
    try {
        RSSDownloadWindow window(loop, clock, view, kChannelPath);
        loop.Run();
    } catch (...) {
        System::DebugLogUnhandled(std::current_exception());  // the last resort of start-up
    }
    closelog();
    return loop.ExitStatus();
}

}  // namespace qv
