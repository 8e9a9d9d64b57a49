#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/ConnectionRace.h"
#include "foundation/IPCSocket.h"
#include "foundation/SocketErrors.h"
#include "foundation/SocketPathClaim.h"
#include "foundation/TCPSocket.h"
#include "foundation/Timer.h"
#include "support/DnsResponder.h"
#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using Events = std::vector<std::string>;

// A socket whose events are written down as text; Error also shows the input
// still readable then.
template <class Socket>
struct Recording {
    template <class... Arguments>
    explicit Recording(RunLoop& loop, Arguments&&... arguments) : socket(loop, std::forward<Arguments>(arguments)...) {
        socket.onConnected = [this] { events.push_back("connected"); };
        socket.onDataAvailable = [this] { events.push_back("data"); };
        socket.onError = [this] {
            events.push_back("error " + std::to_string(socket.LastErrorCode()) + " " + std::string(socket.Lookahead().Bytes()));
        };
    }
    bool Saw(const std::string& prefix) const {
        return std::any_of(events.begin(), events.end(), [&](const std::string& e) { return e.starts_with(prefix); });
    }
    Socket socket;
    Events events;
};

// True once the other end has closed: end of stream, or a reset for bytes it left unread.
bool ClosedByItsPeer(int fd) {
    char byte;
    const ssize_t n = recv(fd, &byte, 1, MSG_DONTWAIT);
    return n == 0 || (n < 0 && errno == ECONNRESET);
}

class SocketTest : public ::testing::Test {
protected:
    // Connects to the test server and returns the server's end.
    int Connect(Recording<TCPSocket>& s, const char* host = "127.0.0.1") {
        s.socket.SetAddress(host);
        s.socket.SetPort(server.Port());
        s.socket.Connect();
        EXPECT_TRUE(test::RunUntil(loop, [&] { return s.Saw("connected"); }));
        return server.Accept();
    }
    // Listens on `name` in the temporary folder and, unless told not to, takes one peer.
    int Listen(Recording<IPCSocket>& s, const std::string& name = "channel", bool takePeer = true) {
        s.socket.SetPath(String(dir.File(name)));
        s.socket.Listen();
        if (!takePeer) return -1;
        const int peer = test::ConnectLocal(dir.File(name));
        EXPECT_TRUE(test::RunUntil(loop, [&] { return s.Saw("connected"); }));
        return peer;
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TcpListener server;
    test::TempDir dir;
};

TEST_F(SocketTest, ALocalCloseOrDestructionRaisesNothingAndFailuresToConnectComeFromTheLoop) {
    // A handler that destroys its own socket, with an Error still to come.
    auto doomed = std::make_unique<TCPSocket>(loop);
    int doomedEvents = 0;
    doomed->onConnected = [&] { ++doomedEvents; };
    doomed->onDataAvailable = [&] {
        ++doomedEvents;
        doomed.reset();
    };
    doomed->onError = [&] { ++doomedEvents; };
    doomed->SetAddress("127.0.0.1");
    doomed->SetPort(server.Port());
    doomed->Connect();
    const int doomedPeer = server.Accept();
    test::WriteAll(doomedPeer, "bye");
    close(doomedPeer);
    EXPECT_TRUE(test::RunUntil(loop, [&] { return !doomed; }));
    test::RunUntil(loop, [] { return false; }, milliseconds(50));
    EXPECT_EQ(doomedEvents, 2);

    Recording<TCPSocket> open(loop);
    test::ResetConnection(Connect(open));
    open.socket.Write("to a peer that reset");  // fails at once: an error due when the close comes
    open.socket.Close();
    open.socket.Write("nobody listens");
    EXPECT_EQ(open.socket.BytesLeftToSend(), 0);
    test::RunUntil(loop, [] { return false; }, milliseconds(200));
    EXPECT_EQ(open.events, Events{"connected"});

    const std::int32_t closedPort = server.Port();
    server.StopListening();
    const struct {
        const char* host;
        std::int32_t port, code;
    } cases[] = {{"127.0.0.1", closedPort, SocketError::LostConnection}, {"127.0.0.1", 0, SocketError::InvalidPort},
                 {"127.0.0.1", 65536, SocketError::InvalidPort}, {"", 80, SocketError::NameNotResolved}};
    for (const auto& c : cases) {
        Recording<TCPSocket> s(loop);
        s.socket.SetAddress(c.host);
        s.socket.SetPort(c.port);
        s.socket.Connect();
        EXPECT_TRUE(s.events.empty()) << "an event ran inside Connect";
        EXPECT_TRUE(test::RunUntil(loop, [&] { return s.Saw("error"); }));
        EXPECT_EQ(s.events, Events{"error " + std::to_string(c.code) + " "}) << c.host << ":" << c.port;
    }
}

TEST_F(SocketTest, PollDeliversOnlyItsOwnSocketsEventsAndALargeWriteArrivesWhole) {
    Recording<TCPSocket> a(loop), b(loop);
    const int peerA = Connect(a);
    const int peerB = Connect(b);
    Timer timer(loop);
    timer.SetPeriod(10);
    timer.SetMode(Timer::ModeSingle);
    bool otherRan = false;
    timer.onAction = [&] { otherRan = true; };
    const RunLoop::Pending posted = loop.Post([&] { otherRan = true; });
    clock.Advance(milliseconds(20));
    test::WriteAll(peerA, "for a");
    test::WriteAll(peerB, "for b");
    a.socket.Poll();
    EXPECT_EQ(a.events, (Events{"connected", "data"}));
    EXPECT_EQ(b.events, Events{"connected"});
    EXPECT_FALSE(otherRan);
    // b takes its bytes in before it closes: bytes left unread would close it with a reset.
    ASSERT_TRUE(test::RunUntil(loop, [&] { return b.Saw("data"); }));

    const std::string payload = test::Pattern(8 * 1024 * 1024, 7);
    std::string received;
    std::thread reader([&] { received = test::ReadAvailable(peerB, 10000); });
    b.socket.Write(String(payload));
    EXPECT_TRUE(test::RunUntil(loop, [&] { return b.socket.BytesLeftToSend() == 0; }, milliseconds(10000)));
    b.socket.Close();
    reader.join();
    EXPECT_TRUE(received == payload);
    close(peerA);
    close(peerB);
}

TEST_F(SocketTest, TheLocalListenerTakesOnePeerWhoseDepartureDeafnessOrExcessIsAnError) {
    Recording<IPCSocket> s(loop, dir.Path());
    int peer = Listen(s);
    // A further peer gets in, and is closed at once, unread.
    const int further = test::ConnectLocal(dir.File("channel"));
    ASSERT_GE(further, 0);
    test::WriteAll(further, "Start__End");
    EXPECT_TRUE(test::RunUntil(loop, [&] { return ClosedByItsPeer(further); }));
    close(further);
    test::WriteAll(peer, std::string("Start_\0\xff_End", 12));
    close(peer);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return s.Saw("error"); }));
    // What came before the close comes first and stays readable during Error.
    EXPECT_EQ(s.events, (Events{"connected", "data", "error 102 " + std::string("Start_\0\xff_End", 12)}));
    EXPECT_TRUE(s.socket.Read(0).IsEmpty() && s.socket.Read(-1).IsEmpty());
    EXPECT_EQ(s.socket.Read(6).Bytes(), "Start_");
    EXPECT_EQ(s.socket.ReadAll().Bytes(), std::string("\0\xff_End", 6));

    // A peer that stops reading: the next write fails, after its last bytes.
    Recording<IPCSocket> deaf(loop, dir.Path());
    peer = Listen(deaf, "deaf");
    test::WriteAll(peer, "last words");
    ASSERT_EQ(shutdown(peer, SHUT_RD), 0);
    deaf.socket.Write("reply");  // before the loop has read the last words
    ASSERT_TRUE(test::RunUntil(loop, [&] { return deaf.Saw("error"); }));
    EXPECT_EQ(deaf.events, (Events{"connected", "data", "error 102 last words"}));
    close(peer);

    // Input that finds no room in memory: an error of resources.
    Recording<IPCSocket> starved(loop, dir.Path());
    peer = Listen(starved, "starved");
    starved.socket.SetInputRoomMaker([](std::string&, std::size_t) { throw std::bad_alloc(); });
    test::WriteAll(peer, "more than there is room for");
    ASSERT_TRUE(test::RunUntil(loop, [&] { return starved.Saw("error"); }));
    EXPECT_EQ(starved.events, (Events{"connected", "error 108 "}));
    close(peer);

    // A path that cannot be taken fails from the loop, not inside Listen.
    ASSERT_EQ(mkdir(dir.File("folder").c_str(), 0700), 0);
    Recording<IPCSocket> refused(loop, dir.Path());
    Listen(refused, "folder", false);
    EXPECT_TRUE(refused.events.empty());
    loop.RunOnce(milliseconds(0));
    EXPECT_EQ(refused.events, Events{"error 106 "});
}

// Names served by a responder on the test's loop, through a resolver
// configuration of the test's own.
class NameTest : public SocketTest {
protected:
    // Points `socket` at a configuration that names `server` as the name server.
    void UseNameServer(TCPSocket& socket, const std::string& server) {
        const std::string path = dir.File("resolv.conf");
        test::WriteFile(path + ".new", "nameserver " + server + "\noptions timeout:1 attempts:1\n");
        std::filesystem::rename(path + ".new", path);  // a new file, as an editor or a network manager leaves it
        socket.SetResolverSettings(ResolverSettings{path, dns.Port()});
    }
    test::DnsResponder dns{loop};
};

TEST_F(NameTest, ANameIsLookedUpWithTheConfigurationAsItIsWhenTheConnectStarts) {
    dns.Serve("served.test", {"127.0.0.1"});
    Recording<TCPSocket> s(loop);
    s.socket.SetAddress("served.test");
    s.socket.SetPort(server.Port());
    UseNameServer(s.socket, "127.0.0.2");  // nobody answers there
    s.socket.Connect();
    ASSERT_TRUE(test::RunUntil(loop, [&] { return s.Saw("error"); }));
    EXPECT_EQ(s.events, Events{"error 103 "});
    test::WriteFile(dir.File("resolv.conf.new"), "nameserver 127.0.0.1\n");
    std::filesystem::rename(dir.File("resolv.conf.new"), dir.File("resolv.conf"));
    s.socket.Connect();
    EXPECT_TRUE(test::RunUntil(loop, [&] { return s.Saw("connected"); }));
}

TEST_F(NameTest, EveryAddressOfANameIsTriedTheNextOneAQuarterSecondAfterTheOneBefore) {
    dns.Serve("dual.test", {"127.0.0.1", "::1"});
    const int v6 = AF_INET6, v4 = AF_INET;
    const struct {
        const char* what;
        std::vector<int> listening;  // families with a server at the port
        int stuck;                   // a family whose server takes no connection, or 0
        const char* outcome;
    } cases[] = {
        {"only ::1 listens", {v6}, 0, "connected"}, {"only 127.0.0.1 listens", {v4}, 0, "connected"},
        {"nobody listens", {}, 0, "error 102 "}, {"::1 does not answer, 127.0.0.1 does", {v4}, v6, "connected"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::int32_t port = test::TcpListener().Port();  // free on both, most likely
        std::vector<std::unique_ptr<test::TcpListener>> servers;
        for (const int family : c.listening) servers.push_back(std::make_unique<test::TcpListener>(family, port));
        // A queue of none, already taken: the server drops every further knock.
        std::unique_ptr<test::TcpListener> stuck;
        int filler = -1;
        if (c.stuck) {
            stuck = std::make_unique<test::TcpListener>(c.stuck, port, 0);
            filler = socket(c.stuck, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_in6 address{AF_INET6, htons(static_cast<std::uint16_t>(port)), 0, in6addr_loopback, 0};
            ASSERT_EQ(connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        }
        Recording<TCPSocket> s(loop);
        UseNameServer(s.socket, "127.0.0.1");
        s.socket.SetAddress("dual.test");
        s.socket.SetPort(port);
        s.socket.Connect();
        if (c.stuck) {
            test::RunUntil(loop, [] { return false; }, milliseconds(100));
            EXPECT_TRUE(s.events.empty()) << "the next address came before its time";
            test::AdvanceBy(loop, clock, ConnectionRace::kAttemptDelay);
        }
        ASSERT_TRUE(test::RunUntil(loop, [&] { return !s.events.empty(); }));
        EXPECT_EQ(s.events, Events{c.outcome});
        if (filler >= 0) close(filler);
    }
}

TEST_F(SocketTest, OutOfDescriptorsTheListenerTakesThePeerWithItsReserveThenRestsInsteadOfSpinning) {
    Recording<IPCSocket> s(loop, dir.Path());
    Listen(s, "channel", false);
    loop.RunOnce(milliseconds(0));  // UBSan's first check of a virtual call needs a descriptor
    const int peer = test::ConnectLocal(dir.File("channel"));
    const int further = test::ConnectLocal(dir.File("channel"));
    {
        test::NoDescriptorLeft atTheEdge;
        ASSERT_TRUE(test::RunUntil(loop, [&] { return s.Saw("connected"); })) << "the reserve takes the peer";
        loop.RunOnce(milliseconds(20));
        EXPECT_FALSE(ClosedByItsPeer(further)) << "no room is left for the next one";
    }
    test::AdvanceBy(loop, clock, std::chrono::seconds(1));
    EXPECT_TRUE(test::RunUntil(loop, [&] { return ClosedByItsPeer(further); })) << "taken and closed once there is room";
    EXPECT_EQ(s.events, Events{"connected"});
    close(further);
    close(peer);
}

TEST_F(SocketTest, ADeletedSocketFileEndsAListenerThatHasNoPeerButNotOneThatHas) {
    Recording<IPCSocket> lonely(loop, dir.Path()), served(loop, dir.Path());
    Listen(lonely, "lonely", false);
    const int peer = Listen(served, "served");
    std::filesystem::remove(dir.File("lonely"));
    std::filesystem::remove(dir.File("served"));
    test::AdvanceBy(loop, clock, std::chrono::seconds(5));
    EXPECT_EQ(lonely.events, Events{"error 106 "});
    EXPECT_EQ(served.events, Events{"connected"});
    close(peer);
}

namespace fs = std::filesystem;

ino_t Inode(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

TEST(SocketPathClaimTest, ALiveClaimKeepsOthersOutLeavesNoFileBehindAndNamesOnlyItsFolder) {
    test::TempDir dir, otherFolder, locks;
    const std::string path = dir.File("qvipc");
    // A socket file left behind, as by a process that died, is taken over, and
    // so is its lock file: the lock, not the file, tells liveness.
    const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::strcpy(address.sun_path, path.c_str());
    ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(stale);
    {
        Descriptor listener, second, other;
        SocketPathClaim first(locks.Path()), elsewhere(locks.Path());
        ASSERT_EQ(first.Claim(path, listener), 0);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
        const ino_t live = Inode(path);
        EXPECT_EQ(SocketPathClaim(locks.Path()).Claim(path, second), 105);
        EXPECT_FALSE(second);
        EXPECT_EQ(Inode(path), live) << "the live socket is untouched";
        EXPECT_EQ(std::distance(fs::directory_iterator(dir.Path()), {}), 1) << "the socket alone";
        EXPECT_EQ(elsewhere.Claim(otherFolder.File("qvipc"), other), 0) << "the same name elsewhere is another channel";
        EXPECT_EQ(std::distance(fs::directory_iterator(locks.Path()), {}), 2) << "a lock each, in the private folder";
        const int peer = test::ConnectLocal(path);
        EXPECT_GE(peer, 0);
        close(peer);
        EXPECT_TRUE(first.StillAtPath());
    }
    EXPECT_TRUE(fs::is_empty(dir.Path()) && fs::is_empty(otherFolder.Path()) && fs::is_empty(locks.Path()));
    {
        Descriptor listener;
        SocketPathClaim claim(locks.Path());  // at the end the file goes only if it is still the one made here
        ASSERT_EQ(claim.Claim(path, listener), 0);
        fs::remove(path);
        test::WriteFile(path, "not ours");
        EXPECT_FALSE(claim.StillAtPath());
    }
    EXPECT_TRUE(fs::exists(path));

    // What is not our socket is left as it is.
    test::WriteFile(dir.File("target"), "keep me");
    fs::create_symlink(dir.File("target"), dir.File("link"));
    fs::create_directory(dir.File("folder"));
    for (const char* name : {"qvipc", "link", "folder"}) {
        const ino_t before = Inode(dir.File(name));
        Descriptor listener;
        EXPECT_EQ(SocketPathClaim(locks.Path()).Claim(dir.File(name), listener), 106) << name;
        EXPECT_EQ(Inode(dir.File(name)), before) << name;
    }
    EXPECT_EQ(fs::file_size(path), 8u);
    EXPECT_EQ(fs::file_size(dir.File("target")), 7u);
}

}  // namespace
}  // namespace qv
