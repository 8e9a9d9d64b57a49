#include "foundation/Dictionary.h"
#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

// A fetch arms the 60-second watchdog before its request leaves and returns
// with the command still in progress: delivery, the socket's error or the
// watchdog ends it. An empty address ends it at once, without a word.
void RSSDownloadWindow::startFetch(const String& text) {
    bool notFound = false;
    const auto socket = [this]() -> RSSTCPSocket& { return ControlNamed<RSSTCPSocket>("RSSTCPSocket"); };
    const auto armWatchdog = [&] {
        ControlNamed<SocketTimeoutTimer>("SocketTimeoutTimer").SetMode(Timer::ModeSingle);
        socket().Yield = true;
    };

    if (SameText(CommandStr, "GetNews")) {
        InputURL = getCRFieldFromString("WebAddress", text, notFound);
        if (Len(InputURL) < 1) {
            isCommandInProgress = false;
            return;
        }
        const String date = getCRFieldFromString("DateStr", text, notFound);
        const String goi = getCRFieldFromString("GOIStr", text, notFound);
        armWatchdog();
        Dictionary form;
        form.SetValue("date", date);
        form.SetValue("goi", goi);
        socket().SetFormData(&form);
        socket().Post(InputURL);
        return;
    }

    const bool headersOnly = SameText(CommandStr, "GetHeadersURL");
    InputURL = getCRFieldFromString(headersOnly ? "GetHeadersURL" : "GetPageURL", text, notFound);
    if (Len(InputURL) < 1) {
        isCommandInProgress = false;
        return;
    }
    armWatchdog();
    if (headersOnly) {
        socket().GetHeaders(InputURL);
    } else {
        socket().Get(InputURL);
    }
}

}  // namespace qv
