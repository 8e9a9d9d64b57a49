#include "foundation/IPCSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

using std::chrono::milliseconds;

class IPCSocketTest : public ::testing::Test {
protected:
    IPCSocketTest() {
        socket.SetPath(String(dir.File("channel")));
        socket.onConnected = [this] { ++connected; };
        socket.onDataAvailable = [this] { received += socket.ReadAll().Bytes(); };
        socket.onError = [this] { errorCode = socket.LastErrorCode(); };
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    IPCSocket socket{loop};
    int connected = 0;
    std::string received;
    std::int32_t errorCode = 0;
};

TEST_F(IPCSocketTest, OnePeerIsAcceptedItsBytesArriveAndItsDepartureIsAnError) {
    socket.Listen();
    const int peer = test::ConnectLocal(dir.File("channel"));
    ASSERT_GE(peer, 0);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return connected == 1; }));
    EXPECT_TRUE(socket.IsConnected());

    test::WriteAll(peer, std::string("Start_\0\xff_End", 12));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return received.size() == 12; }));
    EXPECT_EQ(received, std::string("Start_\0\xff_End", 12));

    close(peer);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return errorCode != 0; }));
    EXPECT_EQ(errorCode, 102);
    EXPECT_FALSE(socket.IsConnected());
}

TEST_F(IPCSocketTest, APeerThatStopsReadingMakesTheNextWriteAnErrorAfterItsLastBytes) {
    socket.Listen();
    const int peer = test::ConnectLocal(dir.File("channel"));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return connected == 1; }));
    test::WriteAll(peer, "last words");
    ASSERT_EQ(shutdown(peer, SHUT_RD), 0);
    socket.Write("reply");  // before the loop has read the last words
    ASSERT_TRUE(test::RunUntil(loop, [&] { return errorCode != 0; }));
    EXPECT_EQ(errorCode, 102);
    EXPECT_EQ(received, "last words");
    close(peer);
}

TEST_F(IPCSocketTest, AFurtherPeerIsRefused) {
    socket.Listen();
    const int first = test::ConnectLocal(dir.File("channel"));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return connected == 1; }));
    const int second = test::ConnectLocal(dir.File("channel"));
    EXPECT_EQ(second, -1);
    test::RunUntil(loop, [] { return false; }, milliseconds(100));
    EXPECT_EQ(connected, 1);
    EXPECT_TRUE(socket.IsConnected());
    close(first);
}

TEST_F(IPCSocketTest, APeerOfAnotherUserIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
    socket.Listen();
    // Let anyone reach the file, so that only the credentials check stands.
    ASSERT_EQ(chmod(dir.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(dir.File("channel").c_str(), 0666), 0);
    const pid_t child = fork();
    if (child == 0) {
        if (setuid(65534) != 0) _exit(2);
        const int fd = test::ConnectLocal(dir.File("channel"));
        if (fd < 0) _exit(3);
        // Refused: the assistant closes the connection without a word.
        _exit(test::ReadAvailable(fd, 3000).empty() ? 0 : 4);
    }
    int status = 0;
    ASSERT_TRUE(test::RunUntil(loop, [&] { return waitpid(child, &status, WNOHANG) == child; }, milliseconds(5000)));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(connected, 0);

    // Still listening for the right peer.
    const int peer = test::ConnectLocal(dir.File("channel"));
    EXPECT_TRUE(test::RunUntil(loop, [&] { return connected == 1; }));
    close(peer);
}

TEST_F(IPCSocketTest, ConnectReachesAListenerOnTheSameLoop) {
    socket.Listen();
    IPCSocket client(loop);
    client.SetPath(String(dir.File("channel")));
    bool clientConnected = false;
    client.onConnected = [&] { clientConnected = true; };
    client.Connect();
    ASSERT_TRUE(test::RunUntil(loop, [&] { return clientConnected && connected == 1; }));
    client.Write("ping");
    EXPECT_TRUE(test::RunUntil(loop, [&] { return received == "ping"; }));
}

TEST_F(IPCSocketTest, ListenThatCannotTakeThePathReportsErrorFromTheLoop) {
    ASSERT_EQ(mkdir(dir.File("channel").c_str(), 0700), 0);
    socket.Listen();
    EXPECT_EQ(errorCode, 0) << "Error must not run inside Listen";
    loop.RunOnce(milliseconds(0));
    EXPECT_EQ(errorCode, 106);
}

}  // namespace
}  // namespace qv
