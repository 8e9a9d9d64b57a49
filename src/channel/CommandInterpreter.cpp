#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::processCommand(const String& text) {
    isCommandInProgress = true;
    if (Len(text) < 1) return;  // never reached: the queue holds no empty text

    if (SameText(CommandStr, "CopyFile")) {
        startCopy(text);  // returns when the copy has ended, or could not start
    } else if (SameText(CommandStr, "CopyFileAbort")) {
        if (!isFileCopyInProgress) {
            // Names the copy last requested, long finished or never made.
            RSSSendCommand("Response: CopyFile" + CRLF + "SrcFileInfoMD5: " + SrcFileInfoMD5 + CRLF + "Status: Abort" + CRLF,
                           0);
            isCommandInProgress = false;
        } else {
            isKillCopyInProgress = true;  // the copy ends the command
        }
    } else if (SameText(CommandStr, "GetHeadersURL") || SameText(CommandStr, "GetPageURL") ||
               SameText(CommandStr, "GetNews")) {
        startFetch(text);  // stays in progress until the fetch ends
    } else if (SameText(CommandStr, "Status")) {
        RSSSendCommand("Response: Status" + CRLF + "Status: Ready" + CRLF, 0);
        writeInputField("Status OK...");
        // A status request also puts away a window that Show brought up.
        if (Visible()) Hide();
        isCommandInProgress = false;
    } else if (SameText(CommandStr, "Hide")) {
        Hide();
        isCommandInProgress = false;
    } else if (SameText(CommandStr, "Show")) {
        Show();
        isCommandInProgress = false;
    } else {
        // A word that names no command ends at once, with no reply and no log
        // line, so the next command starts at the next tick.
        isCommandInProgress = false;
    }
}

}  // namespace qv
