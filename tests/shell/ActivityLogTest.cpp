#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "foundation/TextFunctions.h"
#include "shell/LogEcho.h"
#include "support/WindowFixture.h"

namespace qv {
namespace {

class ActivityLogTest : public test::WindowFixture {
protected:
    void Write(const std::string& entry) { window->writeInputField(String(entry)); }
};

TEST_F(ActivityLogTest, FirstEntryLeavesAnEmptyFirstLineAndTheViewAtTheTop) {
    EXPECT_EQ(LogText(), "\rConnecting to Quorvane...");
    // 1 - 6 lines: the negative scroll position is accepted and shows the top.
    EXPECT_EQ(Log().ScrollPosition(), 0);
    EXPECT_EQ(Log().SelStart(), Len(Log().Text()));
}

TEST_F(ActivityLogTest, TrimsOnlyAboveThreeThousandCharacters) {
    struct Case {
        std::size_t before;  // characters of 'x' already in the log
        std::string expected;
    };
    // "abcde" adds 6 characters with its separator: 2994 + 6 = 3000 stays, 3001 trims.
    // On the trim the kept text starts one character behind the separator that
    // follows position 2000, so the entry loses its first letter.
    for (const Case& c : {Case{2994, std::string(2994, 'x') + "\rabcde"}, Case{2995, "bcde"}}) {
        Log().SetText(String(std::string(c.before, 'x')));
        Write("abcde");
        EXPECT_EQ(LogText(), c.expected) << c.before;
    }
}

TEST_F(ActivityLogTest, FallsBackToAboutAThousandCharactersAtALineBreak) {
    Log().SetText("");
    char entry[16];
    for (int i = 1; i <= 272; ++i) {
        std::snprintf(entry, sizeof entry, "entry %04d", i);
        Write(entry);
    }
    EXPECT_EQ(Len(Log().Text()), 272 * 11);
    Write("entry 0273");

    // The first separator at or behind position 2000 is the one of entry 183
    // (at 2003); the kept text starts one character later than that entry does.
    std::string expected = "ntry 0183";
    for (int i = 184; i <= 273; ++i) {
        std::snprintf(entry, sizeof entry, "\rentry %04d", i);
        expected += entry;
    }
    EXPECT_EQ(LogText(), expected);
    EXPECT_EQ(Log().ScrollPosition(), 90 - 6);
}

TEST_F(ActivityLogTest, EntryWithNoSeparatorBehindPosition2000IsCutInItsMiddle) {
    Log().SetText("");
    Write(std::string(3100, 'y'));
    EXPECT_EQ(LogText(), std::string(1101, 'y'));
}

// What the pipe holds now, without waiting.
std::string Drain(int fd) {
    std::string bytes;
    char buffer[65536];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) bytes.append(buffer, static_cast<std::size_t>(n));
    return bytes;
}

class LogEchoTest : public ::testing::Test {
protected:
    LogEchoTest() {
        EXPECT_EQ(pipe(fds), 0);
        fcntl(fds[0], F_SETFL, O_NONBLOCK);
    }
    ~LogEchoTest() override {
        close(fds[0]);
        close(fds[1]);
    }
    int fds[2] = {-1, -1};
};

TEST_F(LogEchoTest, TheHeadlessWindowEchoesEachEntryAsOneLine) {
    {
        ManualClock clock;
        RunLoop loop(clock);
        HeadlessView view(fds[1]);
        test::TempDir dir;
        RSSDownloadWindow window(loop, clock, view, String(dir.File("qvipc")));
        window.writeInputField("Status OK...");
    }
    EXPECT_EQ(Drain(fds[0]), "Connecting to Quorvane...\nStatus OK...\n");
}

TEST_F(LogEchoTest, AFullPipeNeverBlocksAndTheDroppedLinesAreCountedOnceItDrains) {
    // Filled without blocking; the descriptor given to the echo blocks, as a
    // launcher's stderr pipe does.
    fcntl(fds[1], F_SETFL, O_NONBLOCK);
    const std::string filler(4096, 'f');
    while (write(fds[1], filler.data(), filler.size()) > 0) {
    }
    fcntl(fds[1], F_SETFL, 0);
    LogEcho echo(fds[1]);
    echo.WriteLine("lost");
    echo.WriteLine("lost too");
    Drain(fds[0]);
    echo.WriteLine("Status OK...");
    EXPECT_EQ(Drain(fds[0]), "2 log lines were dropped: nothing was reading standard error\nStatus OK...\n");
}

}  // namespace
}  // namespace qv
