#include "shell/CatchAll.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::QVIPCSocket_Connected() { writeInputField("Connected to Quorvane..."); }

void RSSDownloadWindow::QVIPCSocket_DataAvailable() {
    WithCatchAll("QVAssistant.QVIPCSocket.DataAvailable", [this] {
        QVIPCBuffer.Append(ControlNamed<QVIPCSocket>("QVIPCSocket").ReadAll().Bytes());
    });
}

// Whatever the error, including the peer's departure and a failed Listen: the
// channel is the assistant's reason to live, so it ends, without a word.
void RSSDownloadWindow::QVIPCSocket_Error() {
    ControlNamed<QVIPCSocket>("QVIPCSocket").Close();
    Quit(0);
}

}  // namespace qv
