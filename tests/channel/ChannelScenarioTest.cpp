#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ChannelPeer.h"
#include "support/LoopDriver.h"
#include "support/WindowFixture.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using test::Command;
using Replies = std::vector<std::string>;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";

class ChannelScenarioTest : public test::WindowFixture {
protected:
    ChannelScenarioTest() : created(clock.Now()), peer(channelPath) {
        EXPECT_TRUE(peer.Connected());
        EXPECT_TRUE(test::RunUntil(loop, [&] { return window->ControlNamed<RSSDownloadWindow::QVIPCSocket>("QVIPCSocket").IsConnected(); }));
    }

    // Lets the assistant read what the peer sent, without moving the clock. A
    // local socket holds the peer's bytes as soon as its write returns, so a
    // pass that does not wait finds them.
    void Deliver() {
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
    }
    // Runs the dispatcher's tick number `n` (2000 ms each from creation).
    void Tick(int n) { test::AdvanceTo(loop, clock, created + milliseconds(2000 * n)); }

    Duration created;
    test::ChannelPeer peer;
};

TEST_F(ChannelScenarioTest, StatusIsAnsweredLoggedAndHidesTheWindow) {
    peer.Send(Command({{"Command", "Status"}}));
    Deliver();
    EXPECT_TRUE(peer.Replies().empty()) << "nothing runs before the tick";
    Tick(1);
    EXPECT_EQ(peer.Replies(), Replies{kStatusReport});
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...\rStatus OK...");
    EXPECT_FALSE(window->Visible());
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_EQ(window->CommandStr.Bytes(), "Status");
}

TEST_F(ChannelScenarioTest, ThreeCommandsInOneReadStartAtThreeSuccessiveTicks) {
    peer.SendRaw(std::string(MakeFrame(String(Command({{"Command", "Hide"}}))).Bytes()) +
                 std::string(MakeFrame(String(Command({{"Command", "Show"}}))).Bytes()) +
                 std::string(MakeFrame(String(Command({{"Command", "status"}}))).Bytes()));
    Deliver();
    ASSERT_EQ(window->CommandQueueItemArray.size(), 3u);
    Tick(1);
    EXPECT_FALSE(window->Visible());
    Tick(2);
    EXPECT_TRUE(window->Visible());
    EXPECT_TRUE(peer.Replies().empty());
    Tick(3);
    // Lower-case "status" is answered as Status, and hides what Show brought up.
    EXPECT_EQ(peer.Replies(), Replies{kStatusReport});
    EXPECT_FALSE(window->Visible());
    EXPECT_EQ(window->CommandStr.Bytes(), "status");
}

TEST_F(ChannelScenarioTest, AnUnknownWordTakesOneTickWithoutAReply) {
    peer.Send(Command({{"Command", "Bogus"}}) + "Extra:1\r");
    peer.Send(Command({{"Command", " Status"}}));  // the blank makes it unknown too
    peer.Send(Command({{"Command", "Status"}}));
    Deliver();
    Tick(1);
    EXPECT_TRUE(peer.Replies().empty());
    EXPECT_EQ(window->CommandStr.Bytes(), "Bogus");
    EXPECT_FALSE(window->isCommandInProgress);
    Tick(2);
    EXPECT_TRUE(peer.Replies().empty());
    Tick(3);
    EXPECT_EQ(peer.Replies(), Replies{kStatusReport});
}

TEST_F(ChannelScenarioTest, CopyFileAbortWithNoCopyEverRequestedReportsAnEmptyTag) {
    peer.Send(Command({{"Command", "CopyFileAbort"}}));
    Deliver();
    Tick(1);
    EXPECT_EQ(peer.Replies(), Replies{"Response: CopyFile\r\nSrcFileInfoMD5: \r\nStatus: Abort\r\nHTTPError: \r\n"});
    EXPECT_FALSE(window->isCommandInProgress);
}

TEST_F(ChannelScenarioTest, CopyFileAbortDuringACopyOvertakesTheQueue) {
    window->isFileCopyInProgress = true;
    peer.Send(Command({{"Command", "Status"}}));
    peer.Send(Command({{"Command", "copyfileabort"}}));
    Deliver();
    EXPECT_TRUE(window->isKillCopyInProgress);
    ASSERT_EQ(window->CommandQueueItemArray.size(), 1u);
    EXPECT_EQ(window->CommandQueueItemArray[0]->CommandType.Bytes(), "Status");
}

TEST_F(ChannelScenarioTest, BadFramesAreDroppedWithoutAWord) {
    const std::string statusFrame(MakeFrame(String(Command({{"Command", "Status"}}))).Bytes());
    peer.SendRaw("garbage ahead _End");                              // a stray end marker
    peer.SendRaw("Start__End");                                      // empty
    peer.SendRaw("Start_!!not base64!!_End");                        // bad Base64
    peer.SendRaw("Start_QUJDREVGRw==_End");                          // Base64, but no packed message
    peer.Send(Command({{"GetPageURL", "http://x/"}}));               // no Command field
    peer.Send(Command({{"Command", ""}}));                           // an empty one
    peer.SendRaw(statusFrame.substr(0, 10));                         // a frame split over two reads
    Deliver();
    peer.SendRaw(statusFrame.substr(10));
    Deliver();
    ASSERT_EQ(window->CommandQueueItemArray.size(), 1u);
    EXPECT_EQ(window->CommandQueueItemArray[0]->CommandFull.Bytes(), "Command:Status\r");
    EXPECT_TRUE(window->QVIPCBuffer.Pending().empty());
}

TEST_F(ChannelScenarioTest, ACommandWithCRLFLineEndsYieldsItsFirstFieldOnly) {
    peer.Send("Command:Status\r\nGetPageURL:x\r\n");
    Deliver();
    ASSERT_EQ(window->CommandQueueItemArray.size(), 1u);
    EXPECT_EQ(window->CommandQueueItemArray[0]->CommandType.Bytes(), "Status");
    Tick(1);
    EXPECT_EQ(peer.Replies(), Replies{kStatusReport});
}

TEST_F(ChannelScenarioTest, RSSSendCommandAddsTheErrorLineForEveryCodeButMinusOne) {
    struct Case {
        std::string text;
        std::int32_t code;
        std::string sent;
    };
    std::string binary = "Response: GetPageURL\r\n\r\n";
    binary += std::string("\x00\x01\xFE\xFF\r\n\r\n", 8);
    const Case cases[] = {
        {"", 503, "HTTPError: 503\r\n"},
        {"", 0, "HTTPError: \r\n"},
        {"", 1, "HTTPError: 1\r\n"},
        {"", -1, ""},
        {"Response: X\r\n", -1, "Response: X\r\n"},
        {"Response: X\r\n", 102, "Response: X\r\nHTTPError: 102\r\n"},
        {binary, -1, binary},
    };
    for (const Case& c : cases) {
        window->RSSSendCommand(String(c.text), c.code);
        EXPECT_EQ(peer.Replies(), Replies{c.sent}) << c.code;
    }
}

}  // namespace
}  // namespace qv
