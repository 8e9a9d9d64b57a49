#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <vector>

#include "foundation/DebugLog.h"
#include "foundation/Exceptions.h"
#include "shell/CatchAll.h"
#include "shell/RSSFeedModule.h"
#include "support/LoopDriver.h"
#include "support/WindowFixture.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using Window = RSSDownloadWindow;

bool PathExists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

class WindowTest : public test::WindowFixture {
protected:
    int ConnectPeer() {
        const int peer = test::ConnectLocal(channelPath);
        EXPECT_GE(peer, 0);
        EXPECT_TRUE(test::RunUntil(loop, [&] { return window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").IsConnected(); }));
        return peer;
    }
};

TEST_F(WindowTest, OpensVisibleListeningWithItsSixControlsAndTheirValues) {
    EXPECT_TRUE(window->Visible());
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...");
    EXPECT_EQ(window->CR.Bytes(), "\r");
    EXPECT_EQ(window->LF.Bytes(), "\n");
    EXPECT_EQ(window->CRLF.Bytes(), "\r\n");
    EXPECT_EQ(RSSFeedModule::NewLine.Bytes(), "\r");

    EXPECT_EQ(window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").Path().Bytes(), channelPath);
    EXPECT_TRUE(PathExists(channelPath)) << "listening from the start";
    const auto& tcp = window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket");
    EXPECT_TRUE(tcp.Address().IsEmpty());
    EXPECT_EQ(tcp.Port(), 0);

    struct TimerValues {
        std::int32_t mode;
        std::int32_t period;
    };
    const auto valuesOf = [](const Timer& t) { return std::pair(t.Mode(), t.Period()); };
    EXPECT_EQ(valuesOf(window->ControlNamed<Window::MinimizeTimer>("MinimizeTimer")), std::pair(1, 500));
    EXPECT_EQ(valuesOf(window->ControlNamed<Window::SocketTimeoutTimer>("SocketTimeoutTimer")), std::pair(0, 60000));
    EXPECT_EQ(valuesOf(window->ControlNamed<Window::CommandDispatchTimer>("CommandDispatchTimer")), std::pair(2, 2000));

    EXPECT_FALSE(window->isCommandInProgress);
    EXPECT_TRUE(window->CommandQueueItemArray.empty());
}

TEST_F(WindowTest, ControlLookupRaisesNilObjectForAWrongNameOrClass) {
    EXPECT_THROW(window->ControlNamed<Timer>("NoSuchControl"), NilObjectException);
    EXPECT_THROW(window->ControlNamed<Timer>("QVIPCSocket"), NilObjectException);
    EXPECT_NO_THROW(window->ControlNamed<Timer>("SocketTimeoutTimer"));
}

TEST_F(WindowTest, MinimizeTimerFiresOnceAndLeavesEverythingAsItWas) {
    auto& minimize = window->ControlNamed<Window::MinimizeTimer>("MinimizeTimer");
    test::AdvanceBy(loop, clock, milliseconds(499));
    EXPECT_EQ(minimize.Mode(), 1);
    test::AdvanceBy(loop, clock, milliseconds(1));
    EXPECT_EQ(minimize.Mode(), 0);
    EXPECT_TRUE(window->Visible());
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...");
}

TEST_F(WindowTest, DispatcherStartsOneCommandPerTickFromCreationWithoutAPeer) {
    for (const char* word : {"First", "second", "THIRD"}) {
        window->CommandQueueItemArray.push_back(
            std::make_shared<CommandQueueItemClass>(CommandQueueItemClass{word, String("Command:") + word}));
    }
    const Duration created = clock.Now();
    std::vector<std::string> seen;
    for (int ms : {1999, 2000, 3999, 4000, 6000, 8000}) {
        test::AdvanceTo(loop, clock, created + milliseconds(ms));
        seen.push_back(std::string(window->CommandStr.Bytes()) + "/" + std::to_string(window->CommandQueueItemArray.size()));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"/3", "First/2", "First/2", "second/1", "THIRD/0", "THIRD/0"}));
    EXPECT_FALSE(window->isCommandInProgress);
}

TEST_F(WindowTest, BusyDispatcherLeavesTheQueueAlone) {
    window->isCommandInProgress = true;
    window->CommandQueueItemArray.push_back(std::make_shared<CommandQueueItemClass>(CommandQueueItemClass{"Status", "x"}));
    test::AdvanceBy(loop, clock, milliseconds(10000));
    EXPECT_EQ(window->CommandQueueItemArray.size(), 1u);
    EXPECT_TRUE(window->CommandStr.IsEmpty());
}

TEST_F(WindowTest, PeerIsLoggedAndAnUnfinishedFrameWaitsInTheBuffer) {
    const int peer = ConnectPeer();
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...");
    test::WriteAll(peer, "Start_abc");
    EXPECT_TRUE(test::RunUntil(loop, [&] { return window->QVIPCBuffer.Pending() == "Start_abc"; }));
    close(peer);
}

TEST_F(WindowTest, PeerLeavingEndsTheLoopWithStatusZeroAndTheSocketFileGoes) {
    const int peer = ConnectPeer();
    close(peer);
    ASSERT_TRUE(test::RunUntil(loop, [&] { return loop.IsQuitting(); }));
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...\rConnected to Quorvane...") << "nothing is logged at the end";
    window.reset();
    EXPECT_FALSE(PathExists(channelPath));
}

TEST_F(WindowTest, QuitInsideANestedPollNeverReturnsToTheCaller) {
    const int peer = ConnectPeer();
    close(peer);
    bool wentOn = false;
    Timer busy(loop);
    busy.SetPeriod(1);
    busy.onAction = [&] {
        window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").Poll();  // delivers the peer's departure
        wentOn = true;
    };
    busy.SetMode(Timer::ModeSingle);
    ASSERT_TRUE(test::RunUntil(loop, [&] {
        clock.Advance(milliseconds(1));
        return loop.IsQuitting();
    }));
    EXPECT_FALSE(wentOn);
    EXPECT_EQ(loop.ExitStatus(), 0);
}

TEST(WindowStartTest, PathThatIsNotOursEndsTheLoopAndIsLeftUntouched) {
    ManualClock clock;
    RunLoop loop(clock);
    HeadlessView view;
    test::TempDir dir;
    const std::string path = dir.File("qvipc");
    std::ofstream(path) << "user data";
    {
        RSSDownloadWindow window(loop, clock, view, String(path));
        ASSERT_TRUE(test::RunUntil(loop, [&] { return loop.IsQuitting(); }));
        EXPECT_EQ(loop.ExitStatus(), 0);
    }
    std::ifstream in(path);
    std::string content;
    std::getline(in, content);
    EXPECT_EQ(content, "user data");
}

TEST(CatchAllTest, LogsItsTagOnceAndPassesQuitOn) {
    std::vector<std::string> logged;
    System::ScopedDebugLogSink sink([&](const String& line) { logged.emplace_back(line.Bytes()); });

    bool after = false;
    EXPECT_NO_THROW(WithCatchAll("QVAssistant.Tag", [&] {
        throw NilObjectException();
        after = true;
    }));
    EXPECT_FALSE(after);
    WithCatchAll("QVAssistant.Quiet", [] {});
    EXPECT_THROW(WithCatchAll("QVAssistant.Quit", [] { throw EndException(); }), EndException);
    EXPECT_EQ(logged, std::vector<std::string>{"QVAssistant.Tag"});
}

}  // namespace
}  // namespace qv
