#include "foundation/TCPSocket.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "foundation/SocketErrors.h"
#include "foundation/Timer.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

using std::chrono::milliseconds;

class TCPSocketTest : public ::testing::Test {
protected:
    ManualClock clock;
    RunLoop loop{clock};
    test::TcpListener server;

    // A socket that records its events as text.
    struct RecordingSocket {
        explicit RecordingSocket(RunLoop& loop) : socket(loop) {
            socket.onConnected = [this] { events.push_back("connected"); };
            socket.onDataAvailable = [this] { events.push_back("data"); };
            socket.onError = [this] {
                events.push_back("error " + std::to_string(socket.LastErrorCode()) + " " +
                                 std::string(socket.Lookahead().Bytes()));
            };
        }
        bool Saw(const std::string& prefix) const {
            for (const auto& e : events) {
                if (e.rfind(prefix, 0) == 0) return true;
            }
            return false;
        }
        TCPSocket socket;
        std::vector<std::string> events;
    };

    // Connects `s` to the test server and returns the server's end.
    int ConnectToServer(RecordingSocket& s, const char* host = "127.0.0.1") {
        s.socket.SetAddress(host);
        s.socket.SetPort(server.Port());
        s.socket.Connect();
        EXPECT_TRUE(test::RunUntil(loop, [&] { return s.Saw("connected"); }));
        return server.Accept();
    }
};

TEST_F(TCPSocketTest, DataBeforeARemoteCloseComesBeforeErrorAndStaysReadable) {
    RecordingSocket s(loop);
    const int peer = ConnectToServer(s);
    test::WriteAll(peer, "partial page");
    close(peer);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return s.Saw("error"); }));
    ASSERT_GE(s.events.size(), 3u);
    EXPECT_EQ(s.events.front(), "connected");
    EXPECT_EQ(s.events[1], "data");
    EXPECT_EQ(s.events.back(), "error 102 partial page");
    EXPECT_FALSE(s.socket.IsConnected());
}

TEST_F(TCPSocketTest, LocalCloseRaisesNoError) {
    RecordingSocket s(loop);
    const int peer = ConnectToServer(s);
    s.socket.Close();
    test::WriteAll(peer, "late");
    close(peer);
    test::RunUntil(loop, [] { return false; }, milliseconds(200));
    EXPECT_EQ(s.events, std::vector<std::string>{"connected"});
    EXPECT_FALSE(s.socket.IsConnected());
}

TEST_F(TCPSocketTest, CloseWhileConnectingDropsTheConnectedEvent) {
    RecordingSocket s(loop);
    s.socket.SetAddress("127.0.0.1");
    s.socket.SetPort(server.Port());
    s.socket.Connect();
    s.socket.Close();
    test::RunUntil(loop, [] { return false; }, milliseconds(200));
    EXPECT_TRUE(s.events.empty());
}

TEST_F(TCPSocketTest, RefusedConnectionIsAnErrorWithCode102) {
    const std::int32_t closedPort = server.Port();
    server.StopListening();
    RecordingSocket s(loop);
    s.socket.SetAddress("127.0.0.1");
    s.socket.SetPort(closedPort);
    s.socket.Connect();
    ASSERT_TRUE(test::RunUntil(loop, [&] { return s.Saw("error"); }));
    EXPECT_EQ(s.events, std::vector<std::string>{"error 102 "});
}

TEST_F(TCPSocketTest, BadPortOrEmptyHostFailsLaterNotInsideConnect) {
    struct Case {
        const char* host;
        std::int32_t port;
        std::int32_t code;
    };
    for (const Case& c : {Case{"127.0.0.1", 0, SocketError::InvalidPort}, Case{"127.0.0.1", -1, SocketError::InvalidPort},
                          Case{"127.0.0.1", 65536, SocketError::InvalidPort},
                          Case{"", 80, SocketError::NameNotResolved}}) {
        RecordingSocket s(loop);
        s.socket.SetAddress(c.host);
        s.socket.SetPort(c.port);
        s.socket.Connect();
        EXPECT_TRUE(s.events.empty()) << "an event ran inside Connect";
        loop.RunOnce(Duration::zero());
        EXPECT_EQ(s.events, std::vector<std::string>{"error " + std::to_string(c.code) + " "})
            << c.host << ":" << c.port;
    }
}

TEST_F(TCPSocketTest, HostNameIsLookedUpWithoutBlocking) {
    RecordingSocket s(loop);
    const int peer = ConnectToServer(s, "localhost");
    EXPECT_GE(peer, 0);
    if (peer >= 0) close(peer);
}

TEST_F(TCPSocketTest, PollDeliversOnlyItsOwnSocketsEventsAndRunsNoTimer) {
    RecordingSocket a(loop), b(loop);
    const int peerA = ConnectToServer(a);
    const int peerB = ConnectToServer(b);
    Timer timer(loop);
    timer.SetPeriod(10);
    timer.SetMode(Timer::ModeSingle);
    bool timerFired = false, postedRan = false;
    timer.onAction = [&] { timerFired = true; };
    loop.Post([&] { postedRan = true; });
    clock.Advance(milliseconds(20));
    test::WriteAll(peerA, "for a");
    test::WriteAll(peerB, "for b");

    a.socket.Poll();
    EXPECT_EQ(a.events.back(), "data");
    EXPECT_EQ(a.socket.ReadAll().Bytes(), "for a");
    EXPECT_EQ(b.events.back(), "connected");
    EXPECT_FALSE(timerFired);
    EXPECT_FALSE(postedRan);

    // Nothing due: returns at once and runs no handler.
    const auto before = a.events.size();
    a.socket.Poll();
    EXPECT_EQ(a.events.size(), before);
    close(peerA);
    close(peerB);
}

TEST_F(TCPSocketTest, PollOnASocketThatWasNeverOpenedIsHarmless) {
    RecordingSocket s(loop);
    s.socket.Poll();
    s.socket.Close();
    s.socket.Purge();
    EXPECT_TRUE(s.events.empty());
    EXPECT_TRUE(s.socket.ReadAll().IsEmpty());
}

TEST_F(TCPSocketTest, LookaheadKeepsTheInputAndReadTakesFromTheFront) {
    RecordingSocket s(loop);
    const int peer = ConnectToServer(s);
    test::WriteAll(peer, "hello world");
    ASSERT_TRUE(test::RunUntil(loop, [&] { return s.socket.BytesAvailable() == 11; }));
    EXPECT_EQ(s.socket.Lookahead().Bytes(), "hello world");
    EXPECT_EQ(s.socket.Lookahead().Bytes(), "hello world");
    EXPECT_EQ(s.socket.Read(5).Bytes(), "hello");
    EXPECT_EQ(s.socket.ReadAll().Bytes(), " world");
    EXPECT_TRUE(s.socket.ReadAll().IsEmpty());
    close(peer);
}

TEST_F(TCPSocketTest, WriteOnAClosedSocketIsDroppedSilently) {
    RecordingSocket s(loop);
    EXPECT_NO_THROW(s.socket.Write("nobody listens"));
    EXPECT_EQ(s.socket.BytesLeftToSend(), 0);
    loop.RunOnce(Duration::zero());
    EXPECT_TRUE(s.events.empty());
}

TEST_F(TCPSocketTest, ALargeWriteArrivesWholeAndInOrder) {
    RecordingSocket s(loop);
    const int peer = ConnectToServer(s);
    std::string payload(8 * 1024 * 1024, '\0');
    for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(i * 7 % 251);
    std::string received;
    std::thread reader([&] { received = test::ReadAvailable(peer, 10000); });
    s.socket.Write(String(payload));
    EXPECT_TRUE(test::RunUntil(loop, [&] { return s.socket.BytesLeftToSend() == 0; }, milliseconds(10000)));
    s.socket.Close();
    reader.join();
    close(peer);
    EXPECT_EQ(received.size(), payload.size());
    EXPECT_TRUE(received == payload);
}

}  // namespace
}  // namespace qv
