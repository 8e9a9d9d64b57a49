#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/WindowFixture.h"

namespace qv {
namespace {

using test::Command;
using Replies = std::vector<std::string>;

const std::string kStatusReport = "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n";

class ChannelScenarioTest : public test::WindowFixture {
protected:
    void SetUp() override { Connect(); }
    std::string Frame(const std::string& text) const { return std::string(MakeFrame(String(text)).Bytes()); }
};

TEST_F(ChannelScenarioTest, CommandsInOneReadStartAtSuccessiveTicksAndStatusHidesTheWindow) {
    peer->SendRaw(Frame(Command({{"Command", "Hide"}})) + Frame(Command({{"Command", "Bogus"}}) + "Extra:1\r") +
                  Frame(Command({{"Command", "Show"}})) + Frame(Command({{"Command", " Status"}})) +
                  Frame(Command({{"Command", "status"}})));
    Deliver();
    ASSERT_EQ(window->CommandQueueItemArray.size(), 5u);
    EXPECT_TRUE(peer->Replies().empty()) << "nothing runs before the tick";
    Tick(1);
    EXPECT_FALSE(window->Visible());
    Tick(2);  // an unknown word takes its tick without a reply
    EXPECT_EQ(window->CommandStr.Bytes(), "Bogus");
    Tick(3);
    EXPECT_TRUE(window->Visible());
    Tick(4);  // the blank makes " Status" unknown too
    EXPECT_TRUE(peer->Replies().empty());
    Tick(5);
    // Lower-case "status" is answered as Status, logged, and hides what Show brought up.
    EXPECT_EQ(peer->Replies(), Replies{kStatusReport});
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...\rStatus OK...");
    EXPECT_FALSE(window->Visible());
    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_EQ(window->CommandStr.Bytes(), "status");
}

TEST_F(ChannelScenarioTest, AStreamOfFramesThatNeverLetsTheLoopWaitDoesNotHoldTheDispatcherBack) {
    peer->Send(Command({{"Command", "Status"}}));
    Deliver();
    while (window->CommandQueueItemArray.size() == 1 && clock.Now() < created + std::chrono::seconds(10)) {
        peer->SendRaw("Start__End");
        clock.Advance(std::chrono::milliseconds(100));  // the frames' handler takes the time: no wait between
        loop.RunOnce(Duration::zero());
    }
    EXPECT_EQ(clock.Now() - created, std::chrono::milliseconds(2000)) << "the tick comes at the first pass after it fell due";
    EXPECT_EQ(peer->Replies(), Replies{kStatusReport});
}

TEST_F(ChannelScenarioTest, CopyFileAbortOvertakesTheQueueOnlyDuringACopy) {
    peer->Send(Command({{"Command", "CopyFileAbort"}}));
    Deliver();
    Tick(1);
    EXPECT_EQ(peer->Replies(), Replies{"Response: CopyFile\r\nSrcFileInfoMD5: \r\nStatus: Abort\r\nHTTPError: \r\n"});
    EXPECT_FALSE(window->isCommandInProgress);

    window->isFileCopyInProgress = true;
    peer->Send(Command({{"Command", "Status"}}));
    peer->Send(Command({{"Command", "copyfileabort"}}));
    Deliver();
    EXPECT_TRUE(window->isKillCopyInProgress);
    ASSERT_EQ(window->CommandQueueItemArray.size(), 1u);
    EXPECT_EQ(window->CommandQueueItemArray[0]->CommandType.Bytes(), "Status");
}

TEST_F(ChannelScenarioTest, BadFramesAreDroppedWithoutAWord) {
    const std::string statusFrame = Frame(Command({{"Command", "Status"}}));
    peer->SendRaw("garbage ahead _End");                // a stray end marker
    peer->SendRaw("Start__End");                        // empty
    peer->SendRaw("Start_!!not base64!!_End");          // bad Base64
    peer->SendRaw("Start_QUJDREVGRw==_End");            // Base64, but no packed message
    peer->Send(Command({{"GetPageURL", "http://x/"}}));  // no Command field
    peer->Send(Command({{"Command", ""}}));              // an empty one
    peer->Send("Command:Show\r\nGetPageURL:x\r\n");      // CR LF: the first field only
    peer->SendRaw(statusFrame.substr(0, 10));           // a frame split over two reads
    Deliver();
    peer->SendRaw(statusFrame.substr(10));
    Deliver();
    ASSERT_EQ(window->CommandQueueItemArray.size(), 2u);
    EXPECT_EQ(window->CommandQueueItemArray[0]->CommandType.Bytes(), "Show");
    EXPECT_EQ(window->CommandQueueItemArray[1]->CommandFull.Bytes(), "Command:Status\r");
    EXPECT_TRUE(window->QVIPCBuffer.Pending().empty());
}

TEST_F(ChannelScenarioTest, RSSSendCommandAddsTheErrorLineForEveryCodeButMinusOne) {
    const std::string binary = "Response: GetPageURL\r\n\r\n" + std::string("\x00\x01\xFE\xFF\r\n\r\n", 8);
    const struct {
        std::string text;
        std::int32_t code;
        std::string sent;
    } cases[] = {
        {"", 503, "HTTPError: 503\r\n"},  {"", 0, "HTTPError: \r\n"}, {"", 1, "HTTPError: 1\r\n"}, {"", -1, ""},
        {"Response: X\r\n", 102, "Response: X\r\nHTTPError: 102\r\n"}, {binary, -1, binary},
    };
    for (const auto& c : cases) {
        window->RSSSendCommand(String(c.text), c.code);
        EXPECT_EQ(peer->Replies(), Replies{c.sent}) << c.code;
    }
}

}  // namespace
}  // namespace qv
