#include "shell/App.h"

#include <syslog.h>
#include <unistd.h>

#include <csignal>

#include "foundation/DebugLog.h"
#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"
#if defined(QV_WITH_QT)
#include "shell/qt/QtView.h"
#endif

namespace qv {

namespace {

constexpr const char* kChannelPath = "/tmp/qvipc";

}  // namespace

App::App() {
    openlog("QVAssistant", LOG_PID, LOG_USER);
    // A peer that vanishes mid-write must end in an Error event, and a file
    // size limit must end a copy as a full disk does, not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

App::~App() {
    closelog();
}

int App::Run() {
#if defined(QV_WITH_QT)
    if (const auto screen = QtView::TryOpen(loop_)) {
        // The process ends with the display; the channel's socket file goes first.
        screen->onDisplayLost = [this] {
            if (window_) window_->channel.QVIPCSocket.Close();
        };
        return RunWith(*screen);
    }
#endif
    // No window to look at: the log goes to standard error instead.
    HeadlessView headless(STDERR_FILENO);
    return RunWith(headless);
}

int App::RunWith(WindowView& view) {
    try {
        RSSDownloadWindow window(loop_, clock_, view, kChannelPath);
        window_ = &window;
        loop_.Run();
    } catch (...) {
        // The last resort for start-up: logged, and the process ends as usual.
        System::DebugLogUnhandled(std::current_exception());
    }
    window_ = nullptr;
    return loop_.ExitStatus();
}

}  // namespace qv
