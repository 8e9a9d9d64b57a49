#include "foundation/TextFunctions.h"
#include "shell/CatchAll.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

// Nothing but CommandStr ties an event to a request: a late event is answered
// as whatever command is current, or not at all.
void RSSDownloadWindow::RSSTCPSocket_HeadersReceived(const HTTPSocket::Headers& headers, std::int32_t httpStatus) {
    WithCatchAll("QVAssistant.RSSTCPSocket.HeadersReceived", [&] {
        if (SameText(CommandStr, "GetHeadersURL")) sendPageToQuorvane(headers, String(), httpStatus);
    });
}

void RSSDownloadWindow::RSSTCPSocket_PageReceived(const String& /*url*/, std::int32_t httpStatus,
                                                  const HTTPSocket::Headers& headers, const String& content) {
    WithCatchAll("QVAssistant.RSSTCPSocket.PageReceived", [&] {
        if (SameText(CommandStr, "GetPageURL") || SameText(CommandStr, "GetNews")) {
            sendPageToQuorvane(headers, content, httpStatus);
        }
    });
}

// A 404 or a 301 is a page like any other: HTTPError speaks of the fetch only.
// The body goes as raw bytes; the report is built once, with room for all.
void RSSDownloadWindow::sendPageToQuorvane(const HTTPSocket::Headers& headers, const String& content,
                                           std::int32_t httpStatus) {
    WithCatchAll("QVAssistant.sendPageToQuorvane", [&] {
        ControlNamed<SocketTimeoutTimer>("SocketTimeoutTimer").SetMode(Timer::ModeOff);

        StringBuilder report;
        report.Reserve(content.Size() + 4096);
        report.Append(fetchReportOpening());
        report.Append("HTTPStatus: ");
        report.Append(Format(httpStatus, "#"));
        report.Append(CRLF);
        report.Append("HTTPError: 0");
        report.Append(CRLF);
        if (headers) {
            for (std::int32_t i = 0; i < headers->Count(); ++i) {
                report.Append(headers->Name(i));
                report.Append(": ");
                report.Append(headers->Value(i));
                report.Append(CRLF);
            }
        }
        report.Append(CRLF);
        report.Append(content);

        if (!isChannelConnected()) Quit(0);  // the report has nobody to go to
        RSSSendCommand(report.Take(), -1);
        isCommandInProgress = false;
        restDispatcher();
    });
}

String RSSDownloadWindow::fetchReportOpening() const {
    if (SameText(CommandStr, "GetNews")) return "Response: GetNews" + CRLF;
    return "Response: " + CommandStr + CRLF + "HTTPURL: " + InputURL + CRLF;
}

void RSSDownloadWindow::restDispatcher() {
    ControlNamed<CommandDispatchTimer>("CommandDispatchTimer").RestAfterHandler();
}

bool RSSDownloadWindow::isChannelConnected() const {
    const QVIPCSocket* channel = FindControl<QVIPCSocket>("QVIPCSocket");
    return channel && channel->IsConnected();
}

}  // namespace qv
