#pragma once

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "shell/StopOnSignal.h"
#include "shell/WindowView.h"

namespace qv {

class RSSDownloadWindow;

// The application object: it owns what lives as long as the process (the
// clock, the loop), puts the one window on a screen where there is one and
// nowhere otherwise, and runs the loop.
class App {
public:
    App();
    App(const App&) = delete;
    App& operator=(const App&) = delete;
    ~App();

    // Makes the window, runs the loop until Quit, and gives the exit status.
    int Run();

private:
    int RunWith(WindowView& view);

    SystemClock clock_;
    // The one window while the loop runs.
    RSSDownloadWindow* window_ = nullptr;
    RunLoop loop_{clock_};
    StopOnSignal stopOnSignal_{loop_};
};

}  // namespace qv
