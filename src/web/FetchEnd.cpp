#include "foundation/CatchAll.h"
#include "foundation/TextFunctions.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"
#include "web/Fetcher.h"

namespace qv {

// Nothing but CommandStr ties an event to a request: a late event is answered
// as whatever command is current, or not at all.
void Fetcher::RSSTCPSocket_HeadersReceived(const HTTPSocket::Headers& headers, std::int32_t httpStatus) {
    WithCatchAll("QVAssistant.RSSTCPSocket.HeadersReceived", [&] {
        if (SameText(command_.CommandStr, CommandWord::GetHeadersURL))
            sendPageToQuorvane(headers, String(), httpStatus);
    });
}

void Fetcher::RSSTCPSocket_PageReceived(const String& /*url*/, std::int32_t httpStatus,
                                        const HTTPSocket::Headers& headers, const String& content) {
    WithCatchAll("QVAssistant.RSSTCPSocket.PageReceived", [&] {
        if (SameText(command_.CommandStr, CommandWord::GetPageURL) ||
            SameText(command_.CommandStr, CommandWord::GetNews)) {
            sendPageToQuorvane(headers, content, httpStatus);
        }
    });
}

// A 404 or a 301 is a page like any other: HTTPError speaks of the fetch only.
// The body goes as raw bytes, in a report built once.
void Fetcher::sendPageToQuorvane(const HTTPSocket::Headers& headers, const String& content,
                                 std::int32_t httpStatus) {
    WithCatchAll("QVAssistant.sendPageToQuorvane", [&] {
        SocketTimeoutTimer.SetMode(Timer::ModeOff);
        const String report =
            PageReport(FetchReportOpening(command_.CommandStr, InputURL), httpStatus, headers.get(), content);
        if (!channel_.IsConnected()) loop_.Quit(0);  // the report has nobody to go to
        channel_.RSSSendCommand(report, -1);
        endCommand();
    });
}

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
