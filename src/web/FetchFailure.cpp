#include "foundation/CatchAll.h"
#include "foundation/TextFunctions.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "web/Fetcher.h"

namespace qv {

// The connection could not be made. The watchdog is deliberately left running
// and the socket open: 60 seconds after the start the watchdog still reports a
// timeout, for whatever command is current by then.
void Fetcher::RSSTCPSocket_Error(std::int32_t code) {
    WithCatchAll("QVAssistant.RSSTCPSocket.Error", [&] {
        if (!channel_.IsConnected()) loop_.Quit(0);
        channel_.RSSSendCommand(String(), code);
        // An error during a copy does not free the queue.
        if (SameText(command_.CommandStr, CommandWord::GetNews) ||
            SameText(command_.CommandStr, CommandWord::GetHeadersURL) ||
            SameText(command_.CommandStr, CommandWord::GetPageURL)) {
            endCommand();
        }
    });
}

// A limit on the whole fetch, not on silence: a page still coming in after 60
// seconds is cut off. It frees the queue whatever command is current.
void Fetcher::SocketTimeoutTimer_Action() {
    WithCatchAll("QVAssistant.SocketTimeoutTimer.Action", [&] {
        RSSTCPSocket.Close();
        const String text = FetchReportOpening(command_.CommandStr, InputURL);
        if (!channel_.IsConnected()) loop_.Quit(0);
        channel_.RSSSendCommand(text, 1);
        endCommand();
    });
}

}  // namespace qv
