// Whatever a server sends back, in whatever pieces, and however it ends the
// connection, HTTPSocket keeps the rules of response handling. A socket pair
// stands in for the TCP connection, so the socket layer's events and their
// order are the real ones, without a connect or an accept for each input.
//
// Input: byte 0 holds in bits 0 to 2 how many piece sizes follow (0 to 7) and
// in bit 3 whether the server resets the connection instead of closing it;
// bit 4 ends the connection right behind the last piece, so that the last
// bytes and the end arrive together; each size byte, plus one, is the length
// of a piece, used in turn; the rest is the response. With no sizes the
// response goes in one piece. The server reads the whole request before it
// answers, unless it resets: closing a local socket with the request unread is
// a reset. The loop makes one pass between pieces.
//
// Checked, whatever the timing (S is the response):
//  - Connected comes, and Error never does: the end of a connection that
//    stood is never an error.
//  - PageReceived comes at most once, for the URL asked for, and nothing
//    follows it.
//  - HeadersReceived comes at most once, before any ReceiveProgress; the
//    progress pieces joined are the page's content, and the last count is its
//    length.
//  - A page with no header object comes only before any header was found: no
//    HeadersReceived, status 0, empty content.
//  - A page with headers has HeadersReceived's object and status, and its
//    content starts right behind the first occurrence in S of the terminator
//    that ended the block (two LF, two CR, or CR LF twice): the search looks
//    at arrived bytes only, from the front, so it can find no later one. With
//    a reset the connection may lose the tail of S; otherwise content runs to
//    the end of S.
//  - With an orderly close every byte arrives before the close is reported,
//    so a page comes exactly when S is empty or holds one of the terminators;
//    when none does, Connected is the only event.

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "http/HTTPSocket.h"

namespace {

constexpr std::array<std::string_view, 3> kTerminators = {"\n\n", "\r\r", "\r\n\r\n"};

void Check(bool holds) {
    if (!holds) std::abort();
}

struct Input {
    bool reset = false;
    bool endWithLastPiece = false;
    std::vector<std::size_t> pieceSizes;
    std::string_view response;
};

Input ParseInput(const std::uint8_t* data, std::size_t size) {
    Input input;
    if (size == 0) return input;
    const std::size_t count = std::min<std::size_t>(data[0] & 7, size - 1);
    input.reset = (data[0] & 8) != 0;
    input.endWithLastPiece = (data[0] & 16) != 0;
    for (std::size_t i = 1; i <= count; ++i) input.pieceSizes.push_back(std::size_t{data[i]} + 1);
    input.response = std::string_view(reinterpret_cast<const char*>(data) + 1 + count, size - 1 - count);
    return input;
}

// Reads until the request's blank line has come, so that an orderly close
// leaves nothing unread on the server's side (which would make it a reset).
void ReadRequest(int fd) {
    std::string request;
    while (request.find("\r\n\r\n") == std::string::npos) {
        char buffer[4096];
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        Check(got > 0);
        request.append(buffer, static_cast<std::size_t>(got));
    }
}

void Send(int fd, std::string_view bytes) {
    // The client never closes first; a failure would show in the checks.
    while (!bytes.empty()) {
        const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

// The HTTP client on one end of a socket pair, connected at once; the test
// is the server on the other end. Notes when the end of its connection has
// been handled: no event can follow.
class PairedSocket final : public qv::HTTPSocket {
public:
    using HTTPSocket::HTTPSocket;
    ~PairedSocket() override {
        if (server >= 0) close(server);
    }
    void Connect() override {
        int ends[2];
        Check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
        Check(fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0);
        server = ends[1];
        Adopt(qv::Descriptor(ends[0]), State::Connected);
        MarkConnected();
    }
    void Event_Error() override {
        HTTPSocket::Event_Error();
        ended = true;
    }
    int server = -1;
    bool ended = false;
};

// What the owner heard, and whether it heard it in a lawful order.
struct Heard {
    int connected = 0;
    int headers = 0;
    int pages = 0;
    int errors = 0;
    bool outOfOrder = false;
    std::int32_t headersStatus = 0;
    PairedSocket::Headers headersObject;
    std::string progress;
    std::int32_t lastCount = 0;
    std::string pageURL;
    std::int32_t pageStatus = 0;
    PairedSocket::Headers pageHeaders;
    std::string content;

    void Listen(PairedSocket& socket) {
        auto& events = socket.events;
        events.Connected = [this] {
            outOfOrder |= connected > 0;
            ++connected;
        };
        events.HeadersReceived = [this](const PairedSocket::Headers& object, std::int32_t status) {
            outOfOrder |= connected == 0 || pages > 0 || !progress.empty() || lastCount != 0;
            ++headers;
            headersObject = object;
            headersStatus = status;
        };
        events.ReceiveProgress = [this](std::int32_t received, std::int32_t, const qv::String& piece) {
            outOfOrder |= headers == 0 || pages > 0;
            progress += piece.Bytes();
            lastCount = received;
        };
        events.PageReceived = [this](const qv::String& url, std::int32_t status,
                                     const PairedSocket::Headers& object, const qv::String& page) {
            outOfOrder |= connected == 0;
            ++pages;
            pageURL = url.Bytes();
            pageStatus = status;
            pageHeaders = object;
            content = page.Bytes();
        };
        events.Error = [this](std::int32_t) { ++errors; };
    }
};

// Lives across inputs. No handler may throw: an exception would leave the
// socket deaf.
struct Shared {
    Shared() {
        loop.SetUnhandledExceptionHandler([](std::exception_ptr) { std::abort(); });
    }
    qv::ManualClock clock;
    qv::RunLoop loop{clock};
};

qv::RunLoop& Loop() {
    static Shared shared;
    return shared.loop;
}

// Passes without waiting until `done`: a socket pair has every byte at once.
void RunUntil(const std::function<bool()>& done) {
    for (int pass = 0; pass < 100 && !done(); ++pass) Loop().RunOnce(qv::Duration(0));
}

// Where a page's content may start: right behind the first occurrence of one
// of the terminators.
bool StartsBehindFirstTerminator(std::string_view response, std::string_view content, bool wholeResponse) {
    for (std::string_view terminator : kTerminators) {
        const std::size_t at = response.find(terminator);
        if (at == std::string_view::npos) continue;
        const std::size_t from = at + terminator.size();
        if (response.substr(from, content.size()) == content &&
            (!wholeResponse || from + content.size() == response.size())) {
            return true;
        }
    }
    return false;
}

void CheckHeard(const Heard& heard, const Input& input, const std::string& url) {
    Check(heard.connected == 1 && heard.errors == 0 && !heard.outOfOrder && heard.pages <= 1 &&
          heard.headers <= 1);
    Check(heard.progress.size() == static_cast<std::size_t>(heard.lastCount));
    bool anyTerminator = false;
    for (std::string_view terminator : kTerminators) {
        anyTerminator |= input.response.find(terminator) != std::string_view::npos;
    }
    if (!input.reset) {
        Check((heard.pages == 1) == (input.response.empty() || anyTerminator));
        if (heard.pages == 0) Check(heard.headers == 0);
    }
    if (heard.pages == 0) return;
    Check(heard.pageURL == url && heard.progress == heard.content);
    if (!heard.pageHeaders) {
        Check(heard.headers == 0 && heard.pageStatus == 0 && heard.content.empty());
        return;
    }
    Check(heard.headers == 1 && heard.pageHeaders == heard.headersObject &&
          heard.pageStatus == heard.headersStatus);
    Check(StartsBehindFirstTerminator(input.response, heard.content, !input.reset));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input = ParseInput(data, size);
    const std::string url = "http://127.0.0.1:8080/";
    static qv::ManualClock clock;
    PairedSocket http(Loop(), clock);
    Heard heard;
    heard.Listen(http);
    http.Get(qv::String(url));
    RunUntil([&] { return heard.connected > 0; });
    Check(heard.connected > 0 && http.server >= 0);

    if (!input.reset) ReadRequest(http.server);
    std::string_view rest = input.response;
    for (std::size_t i = 0; !rest.empty(); ++i) {
        const std::size_t piece =
            input.pieceSizes.empty() ? rest.size() : input.pieceSizes[i % input.pieceSizes.size()];
        Send(http.server, rest.substr(0, piece));
        rest.remove_prefix(std::min(piece, rest.size()));
        if (!rest.empty() || !input.endWithLastPiece) Loop().RunOnce(qv::Duration(0));
    }
    close(http.server);  // with the request unread: a reset
    http.server = -1;
    RunUntil([&] { return http.ended; });
    Check(http.ended);
    Loop().RunOnce(qv::Duration(0));  // anything late would show in the checks

    CheckHeard(heard, input, url);
    return 0;
}
