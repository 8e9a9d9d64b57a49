#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "http/HTTPSocket.h"
#include "support/Support.h"

namespace qv::test {

// An HTTPSocket on a manual clock, a plain server on 127.0.0.1 that the test
// scripts byte by byte, and the owner's events written down as text.
class HttpFixture : public ::testing::Test {
protected:
    HttpFixture() {
        auto& e = http.events;
        e.Connected = [this] { events.push_back("connected"); };
        e.HeadersReceived = [this](const HTTPSocket::Headers& headers, std::int32_t status) {
            events.push_back("headers " + std::to_string(status) + (headers ? "" : " nil"));
        };
        e.ReceiveProgress = [this](std::int32_t received, std::int32_t total, const String& data) {
            events.push_back("progress " + std::to_string(received) + "/" + std::to_string(total) + " " +
                             std::string(data.Bytes()));
        };
        e.PageReceived = [this](const String& url, std::int32_t status, const HTTPSocket::Headers& headers,
                                const String& content) {
            events.push_back("page " + std::string(url.Bytes()) + " " + std::to_string(status) +
                             (headers ? "" : " nil") + " [" + std::string(content.Bytes()) + "]");
        };
        e.Error = [this](std::int32_t code) { events.push_back("error " + std::to_string(code)); };
    }
    // Takes the connection once the socket has connected (and so written its
    // request) and reads the request.
    int Serve(std::string* request = nullptr) {
        const std::size_t connectedBefore = Count("connected");
        EXPECT_TRUE(RunUntil(loop, [&] { return Count("connected") > connectedBefore; }));
        const int fd = server.Accept();
        const std::string got = ReadAvailable(fd, 50);
        if (request) *request = got;
        return fd;
    }
    bool WaitFor(const std::string& prefix) { return RunUntil(loop, [&] { return Count(prefix) > 0; }); }
    // Lets a little real time pass, for events that must not come.
    void Settle() { RunUntil(loop, [] { return false; }, std::chrono::milliseconds(150)); }
    std::size_t Count(const std::string& prefix) const {
        return std::count_if(events.begin(), events.end(), [&](const std::string& e) { return e.starts_with(prefix); });
    }

    ManualClock clock;
    RunLoop loop{clock};
    TcpListener server;
    HTTPSocket http{loop, clock};
    std::vector<std::string> events;
};

}  // namespace qv::test
