#pragma once

#include <cstdint>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "foundation/String.h"
#include "foundation/Timer.h"
#include "http/HTTPSocket.h"
#include "protocol/CommandState.h"
#include "protocol/ReportSink.h"

namespace qv {

// The assistant as Quorvane's web client: GetHeadersURL, GetPageURL and
// GetNews on the one HTTP socket, the 60-second watchdog over each fetch, and
// the reports that end it. A fetch ends in delivery, in the socket's error or
// in the watchdog, and nothing but CommandStr ties a late event to a request.
class Fetcher {
public:
    // `dispatcher`: the timer whose ticks start commands. A fetch that ends in
    // one of the events here lets it skip a tick due right then, so that the
    // next command does not start right on the end of the fetch.
    Fetcher(RunLoop& loop, Clock& clock, CommandState& command, ReportSink& channel, Timer& dispatcher);

    HTTPSocket RSSTCPSocket;
    Timer SocketTimeoutTimer;
    // The address of the fetch in hand, or of the last one.
    String InputURL;
    bool isHeadersOnlyRequest = false;  // declared and never used

    // The fetch branches of processCommand: GetHeadersURL, GetPageURL, GetNews.
    void startFetch(const String& text);

    void RSSTCPSocket_HeadersReceived(const HTTPSocket::Headers& headers, std::int32_t httpStatus);
    void RSSTCPSocket_PageReceived(const String& url, std::int32_t httpStatus,
                                   const HTTPSocket::Headers& headers, const String& content);
    void RSSTCPSocket_Error(std::int32_t code);
    void SocketTimeoutTimer_Action();
    void sendPageToQuorvane(const HTTPSocket::Headers& headers, const String& content,
                            std::int32_t httpStatus);

private:
    // The end of the command by one of the events: the flag falls, and the
    // dispatcher's tick that this handler made late is skipped.
    void endCommand();

    RunLoop& loop_;
    CommandState& command_;
    ReportSink& channel_;
    Timer& dispatcher_;
};

}  // namespace qv
