#include "foundation/TextFunctions.h"
#include "shell/CatchAll.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

// The connection could not be made. The watchdog is deliberately left running
// and the socket open: 60 seconds after the start the watchdog still reports a
// timeout, for whatever command is current by then.
void RSSDownloadWindow::RSSTCPSocket_Error(std::int32_t code) {
    WithCatchAll("QVAssistant.RSSTCPSocket.Error", [&] {
        if (!isChannelConnected()) Quit(0);
        RSSSendCommand(String(), code);
        // An error during a copy does not free the queue.
        if (SameText(CommandStr, "GetNews") || SameText(CommandStr, "GetHeadersURL") ||
            SameText(CommandStr, "GetPageURL")) {
            isCommandInProgress = false;
            restDispatcher();
        }
    });
}

// A limit on the whole fetch, not on silence: a page still coming in after 60
// seconds is cut off. It frees the queue whatever command is current.
void RSSDownloadWindow::SocketTimeoutTimer_Action() {
    WithCatchAll("QVAssistant.SocketTimeoutTimer.Action", [&] {
        ControlNamed<RSSTCPSocket>("RSSTCPSocket").Close();
        const String text = fetchReportOpening();
        if (!isChannelConnected()) Quit(0);
        RSSSendCommand(text, 1);
        isCommandInProgress = false;
        restDispatcher();
    });
}

}  // namespace qv
