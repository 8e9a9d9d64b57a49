#include "shell/QuitOnSignal.h"

#include <csignal>

namespace qv {

QuitOnSignal::QuitOnSignal(RunLoop& loop) : watch_(loop, {SIGINT, SIGTERM}, [&loop](int) { loop.Quit(0); }) {}

}  // namespace qv
