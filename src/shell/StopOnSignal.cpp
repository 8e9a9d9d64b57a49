#include "shell/StopOnSignal.h"

#include <csignal>

namespace qv {

StopOnSignal::StopOnSignal(RunLoop& loop) : watch_(loop, {SIGINT, SIGTERM}, [&loop](int) { loop.Stop(0); }) {}

}  // namespace qv
