#include "foundation/TextFunctions.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::processCommand(const String& text) {
    isCommandInProgress = true;
    if (Len(text) < 1) return;  // never reached: the queue holds no empty text

    if (SameText(CommandStr, CommandWord::CopyFile)) {
        copyJob.startCopy(text);  // returns when the copy has ended, or could not start
    } else if (SameText(CommandStr, CommandWord::CopyFileAbort)) {
        if (!copyJob.isFileCopyInProgress) {
            // Names the copy last requested, long finished or never made.
            channel.RSSSendCommand(CopyEndReport(copyJob.SrcFileInfoMD5, CopyStatus::Abort), 0);
            isCommandInProgress = false;
        } else {
            copyJob.isKillCopyInProgress = true;  // the copy ends the command
        }
    } else if (SameText(CommandStr, CommandWord::GetHeadersURL) ||
               SameText(CommandStr, CommandWord::GetPageURL) || SameText(CommandStr, CommandWord::GetNews)) {
        fetcher.startFetch(text);  // stays in progress until the fetch ends
    } else if (SameText(CommandStr, CommandWord::Status)) {
        channel.RSSSendCommand(StatusReport(), 0);
        writeInputField("Status OK...");
        // A status request also puts away a window that Show brought up.
        if (Visible()) Hide();
        isCommandInProgress = false;
    } else if (SameText(CommandStr, CommandWord::Hide)) {
        Hide();
        isCommandInProgress = false;
    } else if (SameText(CommandStr, CommandWord::Show)) {
        Show();
        isCommandInProgress = false;
    } else {
        // A word that names no command ends at once, with no reply and no log
        // line, so the next command starts at the next tick.
        isCommandInProgress = false;
    }
}

}  // namespace qv
