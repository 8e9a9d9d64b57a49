#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::processCommand(const String& text) {
    isCommandInProgress = true;
    if (Len(text) < 1) return;  // never reached: the queue holds no empty text
    // A word that names no command ends at once, with no reply and no log line,
    // so the next command starts at the next tick.
    isCommandInProgress = false;
}

}  // namespace qv
