#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "support/ChannelPeer.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"
#include "shell/HeadlessView.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {
namespace {

using Replies = std::vector<std::string>;
namespace fs = std::filesystem;

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string Bytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + i / 977) % 256);
    return bytes;
}

std::string Locator(const std::string& path) { return std::string(Base64Encode(String(path)).Bytes()); }

// The copy runs inside the dispatcher's action and waits on the clock in its
// pause, so time here moves on at every reading of the clock.
class CopyScenarioTest : public ::testing::Test {
protected:
    explicit CopyScenarioTest(Duration step = std::chrono::milliseconds(25), Duration start = std::chrono::hours(1))
        : clock(step, start) {
        fs::create_directory(source);
        fs::create_directory(target);
        EXPECT_TRUE(test::RunUntil(loop, [&] { return window.ControlNamed<RSSDownloadWindow::QVIPCSocket>("QVIPCSocket").IsConnected(); }));
    }

    std::string CopyCommand(const std::string& from, const std::string& path, std::int64_t total,
                            const std::string& reset = "true", const std::string& tag = "tag-1") {
        return test::Command({{"Command", "CopyFile"},
                              {"SrcFileInfo", Locator(from)},
                              {"SrcFileInfoMD5", tag},
                              {"DstFileInfo", Locator(target)},
                              {"DstFilePath", path},
                              {"StartTicks", std::to_string(Ticks(clock))},
                              {"TotalSize", std::to_string(total)},
                              {"isResetAmountTransferred", reset}});
    }
    // What the peer sent is read and queued.
    void Deliver() {
        for (int pass = 0; pass < 3; ++pass) loop.RunOnce(Duration::zero());
    }
    // One tick of the dispatcher: the head of the queue runs, a copy to its end.
    Replies Tick() {
        window.CommandDispatchTimer_Action();
        return peer.Replies();
    }
    Replies Run(const std::string& command) {
        peer.Send(command);
        Deliver();
        return Tick();
    }
    static std::string End(const std::string& status, const std::string& tag = "tag-1") {
        return "Response: CopyFile\r\nSrcFileInfoMD5: " + tag + "\r\nStatus: " + status + "\r\nHTTPError: \r\n";
    }
    static std::string Progress(const std::string& barPos, const std::string& message, const std::string& tag = "tag-1") {
        return "Response: CopyFile\r\nSrcFileInfoMD5: " + tag + "\r\nStatus: InProgress\r\nBarPos: " + barPos +
               "\r\nMsgStr: " + message + "\r\nHTTPError: \r\n";
    }

    test::SteppingClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string source = dir.File("source");
    std::string target = dir.File("target");
    HeadlessView view;
    RSSDownloadWindow window{loop, clock, view, String(dir.File("qvipc"))};
    test::ChannelPeer peer{dir.File("qvipc")};
};

TEST_F(CopyScenarioTest, AnEmptyFileGivesNoProgressOnlyTheEnd) {
    WriteFile(source + "/empty", "");
    EXPECT_EQ(Run(CopyCommand(source + "/empty", "empty.copy", 0)), Replies{End("Complete")});
    EXPECT_TRUE(fs::exists(target + "/empty.copy"));
    EXPECT_EQ(fs::file_size(target + "/empty.copy"), 0u);
    EXPECT_FALSE(window.isCommandInProgress);
    EXPECT_FALSE(window.isFileCopyInProgress);
}

TEST_F(CopyScenarioTest, ChunksOfTwoMebibytesWithTheFirstAlwaysReported) {
    struct Case {
        std::size_t size;
        std::string progress;
    };
    const Case cases[] = {
        {2097152, Progress("400", "2.0 MB of 2.0 MB, 00:00 elapsed")},
        {2097153, Progress("400", "2.0 MB of 2.0 MB, 00:00 elapsed")},  // the 1 byte left comes unreported
    };
    for (const Case& c : cases) {
        const std::string bytes = Bytes(c.size);
        WriteFile(source + "/f", bytes);
        EXPECT_EQ(Run(CopyCommand(source + "/f", "f", static_cast<std::int64_t>(c.size))),
                  (Replies{c.progress, End("Complete")}))
            << c.size;
        EXPECT_TRUE(ReadFile(target + "/f") == bytes) << c.size;
        EXPECT_EQ(window.AmountTransferred, static_cast<std::int64_t>(c.size));
    }
}

TEST_F(CopyScenarioTest, SmallOrMissingTotalsDoNotTrap) {
    WriteFile(source + "/k", Bytes(1000));
    EXPECT_EQ(Run(CopyCommand(source + "/k", "k", 1000)),
              (Replies{Progress("500", "1000.0 bytes of 1000.0 bytes, 00:00 elapsed"), End("Complete")}));
    // A total under 400 divides by 0: the largest 64-bit value, not 2^63.
    EXPECT_EQ(Run(CopyCommand(source + "/k", "k", 0)),
              (Replies{Progress("9223372036854775807", "1000.0 bytes of 0.0 bytes, 00:00 elapsed"), End("Complete")}));
}

TEST_F(CopyScenarioTest, TheRunningTotalCarriesAcrossCommandsUntilReset) {
    WriteFile(source + "/a", Bytes(100));
    WriteFile(source + "/b", Bytes(50));
    Run(CopyCommand(source + "/a", "a", 150, "true"));
    const Replies second = Run(CopyCommand(source + "/b", "b", 150, "no"));
    ASSERT_FALSE(second.empty());
    EXPECT_NE(second[0].find("MsgStr: 150.0 bytes of 150.0 bytes"), std::string::npos) << second[0];
    EXPECT_EQ(window.AmountTransferred, 150);
    Run(CopyCommand(source + "/b", "b", 150, "TRUE"));
    EXPECT_EQ(window.AmountTransferred, 50);
}

TEST_F(CopyScenarioTest, AnAbortDuringThePauseDeletesTheDestination) {
    WriteFile(source + "/big", Bytes(3 * 2097152));
    peer.Send(CopyCommand(source + "/big", "big", 3 * 2097152));
    Deliver();
    peer.Send(test::Command({{"Command", "CopyFileAbort"}}));  // read during the copy's first pause
    const Replies replies = Tick();
    ASSERT_EQ(replies.size(), 2u);
    EXPECT_NE(replies[0].find("Status: InProgress"), std::string::npos);
    EXPECT_EQ(replies[1], End("Abort"));
    EXPECT_FALSE(fs::exists(target + "/big"));
    EXPECT_TRUE(window.CommandQueueItemArray.empty()) << "the abort never enters the queue";
    EXPECT_EQ(fs::file_size(source + "/big"), 3u * 2097152);
}

TEST_F(CopyScenarioTest, AnAbortQueuedBehindACopyIsAnsweredAfterIt) {
    WriteFile(source + "/f", Bytes(10));
    peer.Send(CopyCommand(source + "/f", "f", 10, "true", "done-tag"));
    peer.Send(test::Command({{"Command", "CopyFileAbort"}}));
    Deliver();
    EXPECT_EQ(Tick().back(), End("Complete", "done-tag"));
    EXPECT_TRUE(fs::exists(target + "/f"));
    EXPECT_EQ(Tick(), Replies{End("Abort", "done-tag")});
}

TEST_F(CopyScenarioTest, WhatStandsAtTheDestinationIsReplacedUnlessItCannotGo) {
    WriteFile(source + "/f", "new");
    WriteFile(target + "/file", "old");
    fs::create_directory(target + "/empty");
    fs::create_directory(target + "/full");
    WriteFile(target + "/full/keep", "kept");
    EXPECT_EQ(Run(CopyCommand(source + "/f", "file", 3)).back(), End("Complete"));
    EXPECT_EQ(ReadFile(target + "/file"), "new");
    EXPECT_EQ(Run(CopyCommand(source + "/f", "empty", 3)).back(), End("Complete"));
    EXPECT_EQ(ReadFile(target + "/empty"), "new");
    EXPECT_TRUE(Run(CopyCommand(source + "/f", "full", 3)).empty());
    EXPECT_EQ(ReadFile(target + "/full/keep"), "kept");
    EXPECT_FALSE(window.isCommandInProgress);
}

TEST_F(CopyScenarioTest, MissingFoldersAreMadeAlongThePath) {
    WriteFile(source + "/f", "deep");
    EXPECT_EQ(Run(CopyCommand(source + "/f", "a/b/c.txt", 4)).back(), End("Complete"));
    EXPECT_EQ(ReadFile(target + "/a/b/c.txt"), "deep");
}

TEST_F(CopyScenarioTest, ImpossibleCopiesEndSilentlyAndNeverTouchTheSource) {
    WriteFile(source + "/f", "precious");
    fs::create_hard_link(source + "/f", target + "/hard");
    ASSERT_EQ(mkfifo((source + "/fifo").c_str(), 0600), 0);
    struct Case {
        const char* what;
        std::string command;
    };
    const Case cases[] = {
        {"a folder as the source", CopyCommand(source, "x", 1)},
        {"a missing source", CopyCommand(source + "/missing", "x", 1)},
        {"the source itself", CopyCommand(source + "/f", "../source/f", 8)},
        {"the source through another spelling", CopyCommand(source + "/f", "../source/./f", 8)},
        {"a hard link of the source", CopyCommand(source + "/f", "hard", 8)},
        {"a FIFO as the source, which must not block", CopyCommand(source + "/fifo", "x", 1)},
        {"a file name with a trailing slash", CopyCommand(source + "/f/", "x", 1)},
        {"an empty destination path", CopyCommand(source + "/f", "", 8)},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(Run(c.command).empty()) << c.what;
        EXPECT_FALSE(window.isCommandInProgress) << c.what;
        EXPECT_EQ(ReadFile(source + "/f"), "precious") << c.what;
    }
    // The failed request still left its tag for an abort to report.
    EXPECT_EQ(Run(test::Command({{"Command", "CopyFileAbort"}})), Replies{End("Abort")});
}

TEST_F(CopyScenarioTest, ADiskThatFillsEndsTheCopyWithAnExactPrefixThoughItFreesAgain) {
    constexpr std::size_t kFull = 3 * 1048576;
    const std::string bytes = Bytes(3 * 2097152);
    WriteFile(source + "/big", bytes);
    // The destination fills at 3 MiB, in the middle of the second chunk, and
    // has room again as soon as it has been found full.
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit full{kFull, unlimited.rlim_max};
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    clock.onReading = [&] {
        std::error_code ignored;
        if (fs::file_size(target + "/big", ignored) == kFull) setrlimit(RLIMIT_FSIZE, &unlimited);
    };
    const Replies replies = Run(CopyCommand(source + "/big", "big", 3 * 2097152));
    clock.onReading = nullptr;
    setrlimit(RLIMIT_FSIZE, &unlimited);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(replies.back(), End("Complete"));
    EXPECT_TRUE(ReadFile(target + "/big") == bytes.substr(0, kFull)) << fs::file_size(target + "/big");
}

// Ticks, 60 a second in signed 32 bits, wrap 2^31 sixtieths of a second after
// the system's clock started: after some 414 days of uptime.
constexpr auto kTickWrap = std::chrono::duration<std::int64_t, std::ratio<1, 60>>(std::int64_t{1} << 31);

class CopyAcrossTheTickWrapTest : public CopyScenarioTest {
protected:
    CopyAcrossTheTickWrapTest()
        : CopyScenarioTest(std::chrono::milliseconds(250), std::chrono::duration_cast<Duration>(kTickWrap) -
                                                               std::chrono::seconds(1)) {}
};

TEST_F(CopyAcrossTheTickWrapTest, ReportsComeOnceASecondAcrossTheWrapAndAfterIt) {
    WriteFile(source + "/big", Bytes(12 * 2097152));
    const Replies across = Run(CopyCommand(source + "/big", "big", 12 * 2097152));
    ASSERT_GE(across.size(), 4u);
    // Each report a second or more after the one before: the elapsed seconds rise.
    for (std::size_t i = 1; i + 1 < across.size(); ++i) {
        EXPECT_LT(across[i - 1].substr(across[i - 1].find(" elapsed") - 5, 5),
                  across[i].substr(across[i].find(" elapsed") - 5, 5));
    }
    ASSERT_LT(Ticks(clock), 0) << "the count has wrapped";
    WriteFile(source + "/small", "after the wrap");
    const Replies after = Run(CopyCommand(source + "/small", "small", 14));
    ASSERT_EQ(after.size(), 2u) << "a non-empty file always reports";
    EXPECT_NE(after[0].find("Status: InProgress"), std::string::npos);
}

TEST_F(CopyScenarioTest, ALinkToTheSourceAtTheDestinationIsReplacedByACopy) {
    WriteFile(source + "/f", "precious");
    fs::create_symlink(source + "/f", target + "/link");
    EXPECT_EQ(Run(CopyCommand(source + "/f", "link", 8)).back(), End("Complete"));
    EXPECT_FALSE(fs::is_symlink(target + "/link"));
    EXPECT_EQ(ReadFile(target + "/link"), "precious");
    EXPECT_EQ(ReadFile(source + "/f"), "precious");
}

TEST_F(CopyScenarioTest, TheCompanionFileOfTheCopyIsRemoved) {
    WriteFile(source + "/f", "data");
    WriteFile(target + "/._f", "resource fork");
    EXPECT_EQ(Run(CopyCommand(source + "/f", "f", 4)).back(), End("Complete"));
    EXPECT_FALSE(fs::exists(target + "/._f"));
}

}  // namespace
}  // namespace qv
