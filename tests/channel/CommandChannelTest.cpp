#include "channel/CommandChannel.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using test::Command;
using test::Frame;
using Texts = std::vector<std::string>;

// The channel without a socket: what comes in is handed to TakeIn, and the
// commands that the dispatcher starts are written down.
class CommandChannelTest : public ::testing::Test {
protected:
    CommandChannelTest() { channel.StartDispatcher(); }
    // Runs the dispatcher's tick number `n`.
    void Tick(int n) { test::AdvanceTo(loop, clock, created + milliseconds(2000 * n)); }
    Texts Queued() const {
        Texts types;
        for (const auto& item : channel.CommandQueueItemArray) types.emplace_back(item->CommandType.Bytes());
        return types;
    }

    ManualClock clock;
    RunLoop loop{clock};
    const TimePoint created = clock.Now();
    CommandState command;
    Texts started;               // CommandStr and the text, as processCommand got them
    bool finishAtOnce = true;    // whether a command ends within its tick
    CommandChannel channel{loop, command, "unused",
                           {.connected = [] {},
                            .processCommand =
                                [this](const String& text) {
                                    command.isCommandInProgress = !finishAtOnce;
                                    started.push_back(std::string(command.CommandStr.Bytes()) + "|" +
                                                      std::string(text.Bytes()));
                                },
                            .isFileCopyInProgress = [] { return false; },
                            .killCopy = [] {}}};
};

TEST_F(CommandChannelTest, FramesBecomeQueuedCommandsAndBadOnesAreDroppedWithoutAWord) {
    const std::string status = Frame(Command({{"Command", "Status"}}));
    const char* pieces[] = {
        "garbage ahead _End",                                     // a stray end marker
        "Start__End",                                             // empty
        "Start_!!not base64!!_End",                               // bad Base64
        "Start_QUJDREVGRw==_End",                                 // Base64, but no packed message
    };
    for (const char* piece : pieces) channel.TakeIn(piece);
    channel.TakeIn(Frame(Command({{"GetPageURL", "http://x/"}})));  // no Command field
    channel.TakeIn(Frame(Command({{"Command", ""}})));              // an empty one
    channel.TakeIn(Frame("Command:Show\r\nGetPageURL:x\r\n"));      // CR LF: the first field only
    channel.TakeIn(status.substr(0, 10));                           // a frame split over two reads
    channel.TakeIn(status.substr(10) + Frame(Command({{"X", "1"}, {"Command", "Bogus"}})));
    EXPECT_EQ(Queued(), (Texts{"Show", "Status", "Bogus"}));
    EXPECT_EQ(channel.CommandQueueItemArray[1]->CommandFull.Bytes(), "Command:Status\r");
    EXPECT_TRUE(channel.QVIPCBuffer.Pending().empty());
}

TEST_F(CommandChannelTest, OneCommandATickInArrivalOrderAndNoneWhileOneIsInProgress) {
    channel.TakeIn(Frame(Command({{"Command", "CopyFile"}})) + Frame(Command({{"Command", "Bogus"}})) +
                   Frame(Command({{"Command", "GetNews"}, {"WebAddress", "w"}})) + Frame(Command({{"Command", "status"}})));
    Tick(1);
    Tick(2);
    EXPECT_EQ(started, (Texts{"CopyFile|Command:CopyFile\r", "Bogus|Command:Bogus\r"}));
    finishAtOnce = false;
    Tick(3);
    Tick(4);
    Tick(5);
    EXPECT_EQ(started.back(), "GetNews|Command:GetNews\rWebAddress:w\r");
    EXPECT_EQ(Queued(), Texts{"status"}) << "nothing starts while a command is in progress";
    command.isCommandInProgress = false;
    Tick(6);
    EXPECT_EQ(started.back(), "status|Command:status\r");
    Tick(7);  // an empty queue leaves the command in hand as it was
    EXPECT_EQ(started.size(), 4u);
    EXPECT_EQ(command.CommandStr.Bytes(), "status");
}

}  // namespace
}  // namespace qv
