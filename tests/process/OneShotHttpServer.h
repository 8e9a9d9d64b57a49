#pragma once

#include <string>
#include <thread>

#include "support/TestPeers.h"

namespace qv::test {

// A plain HTTP server on 127.0.0.1 for exactly one request, in a thread of
// its own: it takes the request whole (head, then as many body bytes as its
// Content-length says), answers with `response` and closes, which is how an
// HTTP/1.0 server ends a page. Each of its waits is bounded.
class OneShotHttpServer {
public:
    explicit OneShotHttpServer(std::string response);
    ~OneShotHttpServer();
    OneShotHttpServer(const OneShotHttpServer&) = delete;
    OneShotHttpServer& operator=(const OneShotHttpServer&) = delete;

    int Port() const { return listener_.Port(); }
    // The bytes of the request, once the exchange is over; empty if none came.
    const std::string& Request();

private:
    void Serve();

    TcpListener listener_;
    std::string response_;
    std::string request_;
    std::thread thread_;
};

}  // namespace qv::test
