#include "shell/StopOnSignal.h"

#include <csignal>

#include "foundation/Exceptions.h"

namespace qv {

// Unwinds as the window's Quit does, so that a signal that comes in the middle
// of a copy ends the copy where it stands, as the channel's loss does there.
StopOnSignal::StopOnSignal(RunLoop& loop)
    : watch_(loop, {SIGINT, SIGTERM, SIGHUP}, [&loop](int) {
          loop.Stop(0);
          throw EndException();
      }) {}

}  // namespace qv
