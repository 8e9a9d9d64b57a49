#include "foundation/TextFunctions.h"
#include "shell/CatchAll.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::QVIPCSocket_Connected() { writeInputField("Connected to Quorvane..."); }

void RSSDownloadWindow::QVIPCSocket_DataAvailable() {
    WithCatchAll("QVAssistant.QVIPCSocket.DataAvailable", [this] {
        QVIPCBuffer.Append(ControlNamed<QVIPCSocket>("QVIPCSocket").ReadAll().Bytes());
        while (const std::optional<String> frame = QVIPCBuffer.TakeFrame()) {
            const String payload = DecodePayload(frame->Bytes());
            if (payload.IsEmpty()) continue;  // a bad frame is dropped without a word
            bool notFound = false;
            const String command = getCRFieldFromString("Command", payload, notFound);
            if (command.IsEmpty()) continue;
            auto item = std::make_shared<CommandQueueItemClass>(CommandQueueItemClass{command, payload});
            if (SameText(command, "CopyFileAbort") && isFileCopyInProgress) {
                // Overtakes the queue: the running copy sees it at its next poll.
                isKillCopyInProgress = true;
            } else {
                CommandQueueItemArray.push_back(std::move(item));
            }
        }
    });
}

// Whatever the error, including the peer's departure and a failed Listen: the
// channel is the assistant's reason to live, so it ends, without a word.
void RSSDownloadWindow::QVIPCSocket_Error() {
    ControlNamed<QVIPCSocket>("QVIPCSocket").Close();
    Quit(0);
}

void RSSDownloadWindow::RSSSendCommand(const String& text, std::int32_t errorCode) {
    // -1 means no error line; any other code, 0 included, gets one.
    const String outgoing = errorCode == -1 ? text : text + "HTTPError: " + Format(errorCode, "#") + CRLF;
    ControlNamed<QVIPCSocket>("QVIPCSocket").Write(MakeFrame(outgoing));
}

}  // namespace qv
