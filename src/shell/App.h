#pragma once

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "shell/HeadlessView.h"
#include "shell/QuitOnSignal.h"

namespace qv {

// The application object: it owns what lives as long as the process (the
// clock, the loop, the view), makes the one window and runs the loop.
class App {
public:
    App();
    App(const App&) = delete;
    App& operator=(const App&) = delete;
    ~App();

    // Makes the window, runs the loop until Quit, and gives the exit status.
    int Run();

private:
    SystemClock clock_;
    RunLoop loop_{clock_};
    QuitOnSignal quitOnSignal_{loop_};
    HeadlessView view_{stderr};
};

}  // namespace qv
