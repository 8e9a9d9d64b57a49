// Whatever a server sends back, in whatever pieces, and however it ends the
// connection, HTTPSocket keeps the rules of response handling. A real loopback
// connection carries the bytes, so the socket layer's event order is tested
// with it.
//
// Input: byte 0 holds in bits 0 to 2 how many piece sizes follow (0 to 7) and
// in bit 3 whether the server resets the connection instead of closing it;
// bit 4 ends the connection right behind the last piece, so that the last
// bytes and the end arrive together; each size byte, plus one, is the length
// of a piece, used in turn; the rest is the response. With no sizes the
// response goes in one piece. The server reads the whole request before it
// answers, and the loop makes one pass between pieces.
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

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
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

using namespace std::chrono_literals;

// Far more than any loopback event needs on a loaded machine; only a socket
// that never reports what it must runs into it.
constexpr auto kPatience = 5s;

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

// A blocking listener on 127.0.0.1 at a port the system chose, kept for the
// whole run.
class Listener {
public:
    Listener() {
        fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        Check(fd_ >= 0 && bind(fd_, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
              listen(fd_, 16) == 0 && getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) == 0);
        port_ = ntohs(address.sin_port);
    }
    int Port() const { return port_; }
    // The connection that the client has just made.
    int Accept() const {
        pollfd ready{fd_, POLLIN, 0};
        Check(poll(&ready, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count())) == 1);
        const int fd = accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
        Check(fd >= 0);
        return fd;
    }

private:
    int fd_ = -1;
    int port_ = 0;
};

// Reads until the request's blank line has come, so that an orderly close
// leaves nothing unread on the server's side (which would make it a reset).
void ReadRequest(int fd) {
    std::string request;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (request.find("\r\n\r\n") == std::string::npos) {
        pollfd ready{fd, POLLIN, 0};
        Check(std::chrono::steady_clock::now() < deadline && poll(&ready, 1, 10) >= 0);
        if (ready.revents == 0) continue;
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

void Reset(int fd) {
    const linger abort{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(fd);
}

// Notes when the end of its connection has been handled: no event can follow.
class WatchedSocket final : public qv::HTTPSocket {
public:
    using HTTPSocket::HTTPSocket;
    void Event_Error() override {
        HTTPSocket::Event_Error();
        ended = true;
    }
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
    WatchedSocket::Headers headersObject;
    std::string progress;
    std::int32_t lastCount = 0;
    std::string pageURL;
    std::int32_t pageStatus = 0;
    WatchedSocket::Headers pageHeaders;
    std::string content;

    void Listen(WatchedSocket& socket) {
        auto& events = socket.events;
        events.Connected = [this] {
            outOfOrder |= connected > 0;
            ++connected;
        };
        events.HeadersReceived = [this](const WatchedSocket::Headers& object, std::int32_t status) {
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
                                     const WatchedSocket::Headers& object, const qv::String& page) {
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

// What lives across inputs: the loop and the server's listener.
struct Shared {
    Shared() {
        // No handler may throw here: an exception would leave the socket deaf.
        loop.SetUnhandledExceptionHandler([](std::exception_ptr) { std::abort(); });
    }
    qv::SystemClock clock;
    qv::RunLoop loop{clock};
    Listener server;
};

Shared& Fixture() {
    static Shared shared;
    return shared;
}

void RunUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!done() && std::chrono::steady_clock::now() < deadline) Fixture().loop.RunOnce(qv::Duration(10ms));
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
    const std::string url = "http://127.0.0.1:" + std::to_string(Fixture().server.Port()) + "/";

    WatchedSocket http(Fixture().loop, Fixture().clock);
    Heard heard;
    heard.Listen(http);
    http.Get(qv::String(url));
    RunUntil([&] { return heard.connected > 0; });
    Check(heard.connected > 0);

    const int server = Fixture().server.Accept();
    ReadRequest(server);
    std::string_view rest = input.response;
    for (std::size_t i = 0; !rest.empty(); ++i) {
        const std::size_t piece =
            input.pieceSizes.empty() ? rest.size() : input.pieceSizes[i % input.pieceSizes.size()];
        Send(server, rest.substr(0, piece));
        rest.remove_prefix(std::min(piece, rest.size()));
        if (!rest.empty() || !input.endWithLastPiece) Fixture().loop.RunOnce(qv::Duration(0));
    }
    if (input.reset) {
        Reset(server);
    } else {
        close(server);
    }
    RunUntil([&] { return http.ended; });
    Check(http.ended);
    Fixture().loop.RunOnce(qv::Duration(0));  // anything late would show in the checks

    CheckHeard(heard, input, url);
    return 0;
}
