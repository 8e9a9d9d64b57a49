#include "foundation/Dictionary.h"
#include "foundation/TextFunctions.h"
#include "protocol/CommandText.h"
#include "protocol/Vocabulary.h"
#include "web/Fetcher.h"

namespace qv {

Fetcher::Fetcher(RunLoop& loop, Clock& clock, CommandState& command, ReportSink& channel, Timer& dispatcher)
    : RSSTCPSocket(loop, clock),
      SocketTimeoutTimer(loop),
      loop_(loop),
      command_(command),
      channel_(channel),
      dispatcher_(dispatcher) {
    RSSTCPSocket.SetAddress("");
    RSSTCPSocket.SetPort(0);
    RSSTCPSocket.Yield = false;
    RSSTCPSocket.events.HeadersReceived = [this](const HTTPSocket::Headers& headers,
                                                 std::int32_t httpStatus) {
        RSSTCPSocket_HeadersReceived(headers, httpStatus);
    };
    RSSTCPSocket.events.PageReceived = [this](const String& url, std::int32_t httpStatus,
                                              const HTTPSocket::Headers& headers, const String& content) {
        RSSTCPSocket_PageReceived(url, httpStatus, headers, content);
    };
    RSSTCPSocket.events.Error = [this](std::int32_t code) { RSSTCPSocket_Error(code); };
    SocketTimeoutTimer.SetPeriod(60000);
    SocketTimeoutTimer.SetMode(Timer::ModeOff);
    SocketTimeoutTimer.onAction = [this] { SocketTimeoutTimer_Action(); };
}

// A fetch arms the 60-second watchdog before its request leaves and returns
// with the command still in progress: delivery, the socket's error or the
// watchdog ends it. An empty address ends it at once, without a word.
void Fetcher::startFetch(const String& text) {
    bool notFound = false;
    const auto armWatchdog = [&] {
        SocketTimeoutTimer.SetMode(Timer::ModeSingle);
        RSSTCPSocket.Yield = true;
    };

    if (SameText(command_.CommandStr, CommandWord::GetNews)) {
        InputURL = getCRFieldFromString(FieldName::WebAddress, text, notFound);
        if (Len(InputURL) < 1) {
            command_.isCommandInProgress = false;
            return;
        }
        const String date = getCRFieldFromString(FieldName::DateStr, text, notFound);
        const String goi = getCRFieldFromString(FieldName::GOIStr, text, notFound);
        armWatchdog();
        Dictionary form;
        form.SetValue("date", date);
        form.SetValue("goi", goi);
        RSSTCPSocket.SetFormData(&form);
        RSSTCPSocket.Post(InputURL);
        return;
    }

    const bool headersOnly = SameText(command_.CommandStr, CommandWord::GetHeadersURL);
    InputURL =
        getCRFieldFromString(headersOnly ? FieldName::GetHeadersURL : FieldName::GetPageURL, text, notFound);
    if (Len(InputURL) < 1) {
        command_.isCommandInProgress = false;
        return;
    }
    armWatchdog();
    if (headersOnly) {
        RSSTCPSocket.GetHeaders(InputURL);
    } else {
        RSSTCPSocket.Get(InputURL);
    }
}

void Fetcher::endCommand() {
    command_.isCommandInProgress = false;
    dispatcher_.RestAfterHandler();
}

}  // namespace qv
