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
// The body goes as raw bytes. The report is built once, in room measured
// beforehand, and the header lines are copied straight from the table: a
// block of millions of lines is never held twice beside its table.
void RSSDownloadWindow::sendPageToQuorvane(const HTTPSocket::Headers& headers, const String& content,
                                           std::int32_t httpStatus) {
    WithCatchAll("QVAssistant.sendPageToQuorvane", [&] {
        ControlNamed<SocketTimeoutTimer>("SocketTimeoutTimer").SetMode(Timer::ModeOff);

        static constexpr std::string_view kNameEnd = ": ";
        const String head = fetchReportOpening() + "HTTPStatus: " + Format(httpStatus, "#") + CRLF + "HTTPError: 0" + CRLF;
        std::size_t lineBytes = 0;
        if (headers) {
            headers->ForEachHeader([&](std::string_view name, std::string_view value) {
                lineBytes += name.size() + kNameEnd.size() + value.size() + CRLF.Size();
            });
        }
        StringBuilder report;
        report.Reserve(head.Size() + lineBytes + CRLF.Size() + content.Size());
        report.Append(head);
        if (headers) {
            headers->ForEachHeader([&](std::string_view name, std::string_view value) {
                report.Append(name);
                report.Append(kNameEnd);
                report.Append(value);
                report.Append(CRLF.Bytes());
            });
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
