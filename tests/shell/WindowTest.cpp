#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/DebugLog.h"
#include "foundation/TextFunctions.h"
#include "shell/CatchAll.h"
#include "shell/LogEcho.h"
#include "shell/RSSFeedModule.h"
#include "support/WindowFixture.h"

namespace qv {
namespace {

using std::chrono::milliseconds;
using Window = RSSDownloadWindow;

class WindowTest : public test::WindowFixture {};

TEST_F(WindowTest, OpensVisibleAndListeningWithItsControlsTimersAndMenuBar) {
    EXPECT_TRUE(window->Visible());
    EXPECT_EQ(window->CRLF.Bytes(), "\r\n");
    EXPECT_EQ(RSSFeedModule::NewLine.Bytes(), "\r");
    EXPECT_TRUE(std::filesystem::exists(channelPath)) << "listening from the start";
    EXPECT_EQ(window->ControlNamed<Window::RSSTCPSocket>("RSSTCPSocket").Port(), 0);
    const auto timer = [&](const char* name) {
        return std::pair(window->ControlNamed<Timer>(name).Mode(), window->ControlNamed<Timer>(name).Period());
    };
    EXPECT_EQ(timer("MinimizeTimer"), std::pair(1, 500));
    EXPECT_EQ(timer("SocketTimeoutTimer"), std::pair(0, 60000));
    EXPECT_EQ(timer("CommandDispatchTimer"), std::pair(2, 2000));
    EXPECT_THROW(window->ControlNamed<Timer>("QVIPCSocket"), NilObjectException) << "a checked cast";
    test::AdvanceBy(loop, clock, milliseconds(500));
    EXPECT_EQ(timer("MinimizeTimer").first, 0) << "one shot at 500 ms that changes nothing";
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
        window->ControlNamed<Window::QVIPCSocket>("QVIPCSocket").Poll();  // delivers the departure
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

TEST_F(WindowTest, SizesInBinaryUnitsAndDurationsWithTheirIrregularHours) {
    const std::pair<std::int64_t, std::string> sizes[] = {
        {0, "0.0 bytes"},     {1024, "1024.0 bytes"},     {1025, "1.0 KB"},           {1536, "1.5 KB"},
        {1048525, "1024.0 KB"},  // rounding carries up without changing the unit
        {1048577, "1.0 MB"},  {1073741824, "1024.0 MB"},  {1073741825, "1.000 GB"},  {1610612736, "1.500 GB"},
        {1099511627776, "1024.000 GB"}, {1099511627777, "1.000 TB"}, {1649267441664, "1.500 TB"}, {-2048, "-2048.0 bytes"},
        // Halves round away from zero, never to even.
        {1280, "1.3 KB"}, {1310720, "1.3 MB"}, {1140850688, "1.063 GB"}, {INT64_MAX, "8388608.000 TB"}};
    for (const auto& [size, text] : sizes) EXPECT_EQ(window->getScaledSize(size).Bytes(), text) << size;

    const std::pair<std::int32_t, std::string> durations[] = {
        {-5, "00:00"},       {1, "00:01"},       {2, "00:02"},         {59, "00:59"},        {60, "01:00"},
        {61, "01:01"},       {62, "01:02"},      {119, "01:59"},       {121, "02:01"},       {3599, "59:59"},
        {3600, "01:00:00"},  {3601, "01:00:01"}, {3660, "0101:00"},    {3661, "0101:01"},    {3725, "01:02:05"},
        {7199, "01:59:59"},  {7200, "02::00:00"}, {7260, "02:01:00"},  {7325, "02::02:05"},  {360000, "100::00:00"},
        {INT32_MIN, "00:00"}};
    for (const auto& [seconds, text] : durations) EXPECT_EQ(window->secondsToString(seconds).Bytes(), text) << seconds;
    EXPECT_EQ(std::string(window->stringFromBool(true).Bytes()) + std::string(window->stringFromBool(false).Bytes()), "truefalse");
}

TEST(LogEchoTest, EntriesGoOutAsLinesAndAFullPipeDropsAndCountsWithoutBlocking) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    const auto drain = [&] {
        std::string bytes;
        char buffer[65536];
        for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) bytes.append(buffer, static_cast<std::size_t>(n));
        return bytes;
    };
    {
        ManualClock clock;
        RunLoop loop(clock);
        HeadlessView view(fds[1]);
        test::TempDir dir;
        RSSDownloadWindow window(loop, clock, view, String(dir.File("qvipc")));
        window.writeInputField("Status OK...");
    }
    EXPECT_EQ(drain(), "Connecting to Quorvane...\nStatus OK...\n");
    // Filled without blocking; the echo's own descriptor blocks, as a launcher's pipe does.
    fcntl(fds[1], F_SETFL, O_NONBLOCK);
    while (write(fds[1], std::string(4096, 'f').data(), 4096) > 0) {
    }
    fcntl(fds[1], F_SETFL, 0);
    LogEcho echo(fds[1]);
    echo.WriteLine("lost");
    echo.WriteLine("lost too");
    drain();
    echo.WriteLine("Status OK...");
    EXPECT_EQ(drain(), "2 log lines were dropped: nothing was reading standard error\nStatus OK...\n");
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
