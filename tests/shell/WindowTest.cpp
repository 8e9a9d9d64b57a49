#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "foundation/CatchAll.h"
#include "foundation/DebugLog.h"
#include "foundation/TextFunctions.h"
#include "shell/HeadlessView.h"
#include "shell/LogEcho.h"
#include "shell/RSSDownloadWindow.h"
#include "shell/RSSFeedModule.h"
#include "support/Support.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using test::Command;
using Replies = std::vector<std::string>;

using test::Frame;

// A whole assistant window on a temporary channel path, a manual clock and the
// headless view; with Connect, a peer on its channel.
class WindowTest : public ::testing::Test {
protected:
    HeadlessEditField& Log() const { return static_cast<HeadlessEditField&>(*window->InputField); }
    std::string LogText() const { return std::string(Log().Text().Bytes()); }
    void Connect() {
        peer = std::make_unique<test::ChannelPeer>(channelPath);
        ASSERT_TRUE(test::RunUntil(loop, [&] { return window->channel.IsConnected(); }));
    }
    // Lets the window read what the peer sent, without moving the clock: a
    // local socket holds the bytes as soon as the peer's write returns.
    void Deliver() {
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
    }
    // Runs the dispatcher's tick number `n`, 2000 ms apart from creation.
    void Tick(int n) { test::AdvanceTo(loop, clock, created + milliseconds(2000 * n)); }

    ManualClock clock;
    RunLoop loop{clock};
    TimePoint created = clock.Now();  // where the dispatcher's beat starts
    test::TempDir dir;
    std::string channelPath = dir.File("qvipc");
    HeadlessView view;
    std::unique_ptr<RSSDownloadWindow> window = std::make_unique<RSSDownloadWindow>(loop, clock, view, String(channelPath));
    std::unique_ptr<test::ChannelPeer> peer;
};

// The whole assistant, from the frames its peer sends to the replies it reads.
TEST_F(WindowTest, CommandsInOneReadStartAtSuccessiveTicksAndStatusHidesTheWindow) {
    Connect();
    peer->SendRaw(Frame(Command({{"Command", "Hide"}})) + Frame(Command({{"Command", "Bogus"}}) + "Extra:1\r") +
                  Frame(Command({{"Command", "Show"}})) + Frame(Command({{"Command", " Status"}})) +
                  Frame(Command({{"Command", "status"}})));
    Deliver();
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
    EXPECT_EQ(peer->Replies(), Replies{"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"});
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...\rStatus OK...");
    EXPECT_FALSE(window->Visible());
    EXPECT_FALSE(window->isCommandInProgress);
}

// A copy waits on the clock in its pause: here time moves on at every reading.
TEST(WholeWindowTest, AbortsPassTheQueueDuringACopyAndOneQueuedBehindItIsAnsweredAfterIt) {
    test::SteppingClock clock(milliseconds(25));
    RunLoop loop{clock};
    test::TempDir dir;
    HeadlessView view;
    RSSDownloadWindow window(loop, clock, view, String(dir.File("qvipc")));
    test::ChannelPeer peer(dir.File("qvipc"));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return window.channel.IsConnected(); }));
    const std::string source = dir.File("source.bin");
    test::WriteFile(source, test::Pattern(3 * 2097152));
    const auto copy = [&](const std::string& path, const std::string& tag) {
        return Command({{"Command", "CopyFile"}, {"SrcFileInfo", std::string(Base64Encode(String(source)).Bytes())},
                        {"SrcFileInfoMD5", tag},
                        {"DstFileInfo", std::string(Base64Encode(String(dir.Path())).Bytes())},
                        {"DstFilePath", path}, {"TotalSize", "400"}});
    };
    const std::string abort = Command({{"Command", "CopyFileAbort"}});
    // The commands are read and queued; one tick runs the first, a copy to its
    // end; what `during` sends comes in the copy's first pause.
    const auto run = [&](const std::string& commands, const std::string& during) {
        peer.Send(commands);
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
        if (!during.empty()) peer.Send(during);
        window.channel.CommandDispatchTimer_Action();
        return peer.Replies();
    };
    using test::CopyEnd;
    EXPECT_EQ(run(abort, ""), Replies{CopyEnd("", "Abort")}) << "no copy ever requested";
    const Replies cut = run(copy("cut.bin", "cut"), abort);
    EXPECT_EQ(cut.size(), 2u);
    EXPECT_EQ(cut.back(), CopyEnd("cut", "Abort"));
    EXPECT_TRUE(window.channel.CommandQueueItemArray.empty()) << "the abort never entered the queue";
    EXPECT_FALSE(std::filesystem::exists(dir.File("cut.bin")));

    peer.Send(copy("whole.bin", "whole"));
    EXPECT_EQ(run(abort, "").back(), CopyEnd("whole", "Complete")) << "an abort queued behind a copy does not stop it";
    window.channel.CommandDispatchTimer_Action();
    EXPECT_EQ(peer.Replies(), Replies{CopyEnd("whole", "Abort")});
    EXPECT_TRUE(std::filesystem::exists(dir.File("whole.bin")));
}

TEST_F(WindowTest, OpensVisibleAndListeningWithItsControlsTimersAndMenuBar) {
    EXPECT_TRUE(window->Visible());
    EXPECT_EQ(window->CRLF.Bytes(), "\r\n");
    EXPECT_EQ(RSSFeedModule::NewLine.Bytes(), "\r");
    EXPECT_TRUE(std::filesystem::exists(channelPath)) << "listening from the start";
    EXPECT_EQ(window->fetcher.RSSTCPSocket.Port(), 0);
    const auto timer = [](const Timer& t) { return std::pair(t.Mode(), t.Period()); };
    EXPECT_EQ(timer(window->MinimizeTimer), std::pair(1, 500));
    EXPECT_EQ(timer(window->fetcher.SocketTimeoutTimer), std::pair(0, 60000));
    EXPECT_EQ(timer(window->channel.CommandDispatchTimer), std::pair(2, 2000));
    test::AdvanceBy(loop, clock, milliseconds(500));
    EXPECT_EQ(window->MinimizeTimer.Mode(), 0) << "one shot at 500 ms that changes nothing";
    EXPECT_TRUE(window->Visible());
    EXPECT_EQ(window->FileQuit().KeyboardShortcut.Bytes(), "Cmd+Q");
}

TEST_F(WindowTest, ThePeerIsLoggedAndItsDepartureEndsTheLoopEvenInsideANestedPoll) {
    Connect();
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...");
    peer->Close();
    bool wentOn = false;
    Timer busy(loop);
    busy.SetPeriod(1);
    busy.onAction = [&] {
        window->channel.QVIPCSocket.Poll();  // delivers the departure
        wentOn = true;
    };
    busy.SetMode(Timer::ModeSingle);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return clock.Advance(milliseconds(1)), loop.Stopping(); }));
    EXPECT_FALSE(wentOn) << "Quit never returns to its caller";
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...") << "nothing is logged at the end";
    window.reset();
    EXPECT_FALSE(std::filesystem::exists(channelPath));
}

TEST_F(WindowTest, TheLogTrimsAboveThreeThousandCharactersOneCharacterPastALineBreak) {
    EXPECT_EQ(Log().ScrollPosition(), 0) << "a negative scroll position shows the top";
    EXPECT_EQ(Log().SelStart(), Len(Log().Text()));
    // "abcde" adds 6 characters with its separator: 2994 + 6 = 3000 stays, 3001 trims.
    const std::pair<std::size_t, std::string> cases[] = {{2994, std::string(2994, 'x') + "\rabcde"}, {2995, "bcde"}};
    for (const auto& [before, expected] : cases) {
        Log().SetText(String(std::string(before, 'x')));
        window->writeInputField("abcde");
        EXPECT_EQ(LogText(), expected) << before;
    }
    Log().SetText("");
    window->writeInputField(String(std::string(3100, 'y')));
    EXPECT_EQ(LogText(), std::string(1101, 'y')) << "no separator behind 2000: cut in the middle";
    Log().SetText("");
    char entry[16];
    for (int i = 1; i <= 273; ++i) window->writeInputField((std::snprintf(entry, sizeof entry, "entry %04d", i), entry));
    // The first separator at or behind position 2000 is entry 183's (at 2003);
    // the kept text starts one character later than that entry does.
    std::string expected = "ntry 0183";
    for (int i = 184; i <= 273; ++i) expected += (std::snprintf(entry, sizeof entry, "\rentry %04d", i), entry);
    EXPECT_EQ(LogText(), expected);
    EXPECT_EQ(Log().ScrollPosition(), 90 - 6);
}

TEST(LogEchoTest, EntriesGoOutAsLinesAndAFullPipeDropsAndCountsWithoutBlocking) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    {
        ManualClock clock;
        RunLoop loop(clock);
        HeadlessView view(fds[1]);
        test::TempDir dir;
        RSSDownloadWindow window(loop, clock, view, String(dir.File("qvipc")));
        window.writeInputField("Status OK...");
    }
    EXPECT_EQ(test::ReadAvailable(fds[0], 0), "Connecting to Quorvane...\nStatus OK...\n");
    // Filled without blocking; the echo's own descriptor blocks, as a launcher's pipe does.
    fcntl(fds[1], F_SETFL, O_NONBLOCK);
    while (write(fds[1], std::string(4096, 'f').data(), 4096) > 0) {
    }
    fcntl(fds[1], F_SETFL, 0);
    LogEcho echo(fds[1]);
    echo.WriteLine("lost");
    echo.WriteLine("lost too");
    test::ReadAvailable(fds[0], 0);
    echo.WriteLine("Status OK...");
    EXPECT_EQ(test::ReadAvailable(fds[0], 0), "2 log lines were dropped: nothing was reading standard error\nStatus OK...\n");
    close(fds[0]);
    close(fds[1]);
}

TEST(CatchAllTest, LogsItsTagOnceAndPassesQuitOn) {
    std::vector<std::string> logged;
    System::ScopedDebugLogSink sink([&](const String& line) { logged.emplace_back(line.Bytes()); });
    EXPECT_NO_THROW(WithCatchAll("QVAssistant.Tag", [] { throw NilObjectException(); }));
    WithCatchAll("QVAssistant.Quiet", [] {});
    EXPECT_THROW(WithCatchAll("QVAssistant.Quit", [] { throw EndException(); }), EndException);
    EXPECT_EQ(logged, std::vector<std::string>{"QVAssistant.Tag"});
}

}  // namespace
}  // namespace qv
