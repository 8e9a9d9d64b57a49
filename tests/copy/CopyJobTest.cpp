#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "copy/CopyJob.h"
#include "foundation/Base64.h"
#include "foundation/Exceptions.h"
#include "foundation/SignalWatch.h"
#include "support/RecordingSink.h"
#include "support/Support.h"

namespace qv {
namespace {

using Replies = std::vector<std::string>;
using test::Pattern, test::ReadFile, test::WriteFile;
namespace fs = std::filesystem;

std::string End(const std::string& status) { return test::CopyEnd("tag-1", status); }
std::string Progress(const std::string& barPos, const std::string& message) {
    return test::CopyProgress("tag-1", barPos, message);
}

// The copy job with a channel that keeps its reports. The copy waits on the
// clock in its pause, so time here moves on at every reading of the clock.
class CopyJobTest : public ::testing::Test {
public:
    explicit CopyJobTest(Duration step = std::chrono::milliseconds(25), TimePoint start = TimePoint(std::chrono::hours(1)))
        : clock(step, start) {
        fs::create_directory(source);
        fs::create_directory(target);
    }

    std::string CopyCommand(const std::string& from, const std::string& path, std::int64_t total,
                            const std::string& reset = "true", const std::string& tag = "tag-1") {
        return test::Command({{"Command", "CopyFile"},
                              {"SrcFileInfo", std::string(Base64Encode(String(from)).Bytes())},
                              {"SrcFileInfoMD5", tag},
                              {"DstFileInfo", std::string(Base64Encode(String(target)).Bytes())},
                              {"DstFilePath", path}, {"StartTicks", std::to_string(Ticks(clock))},
                              {"TotalSize", std::to_string(total)}, {"isResetAmountTransferred", reset}});
    }
    // The CopyFile branch of processCommand, the copy to its end; with
    // `abortInThePause`, an abort comes in the pause after the first report.
    Replies Run(const std::string& text, bool abortInThePause = false) {
        command.CommandStr = "CopyFile";
        command.isCommandInProgress = true;
        if (abortInThePause) clock.onReading = [this] { if (!sink.Empty()) job.isKillCopyInProgress = true; };
        job.startCopy(String(text));
        clock.onReading = nullptr;
        return sink.Take();
    }

    test::SteppingClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::string source = dir.File("source");
    std::string target = dir.File("target");
    CommandState command;
    test::RecordingSink sink;
    CopyJob job{loop, clock, command, sink, {}};
};

TEST_F(CopyJobTest, ChunksOfTwoMebibytesTheFirstAlwaysReportedAndTheExactReports) {
    const struct {
        std::size_t size;
        std::int64_t total;
        Replies replies;
    } cases[] = {
        {0, 0, {End("Complete")}},  // an empty file: no progress, only the end
        {2097152, 2097152, {Progress("400", "2.0 MB of 2.0 MB, 00:00 elapsed"), End("Complete")}},
        // The 1 byte left comes unreported.
        {2097153, 2097153, {Progress("400", "2.0 MB of 2.0 MB, 00:00 elapsed"), End("Complete")}},
        {1000, 1000, {Progress("500", "1000.0 bytes of 1000.0 bytes, 00:00 elapsed"), End("Complete")}},
        // A total under 400 divides by 0: the largest 64-bit value, not 2^63.
        {1000, 0, {Progress("9223372036854775807", "1000.0 bytes of 0.0 bytes, 00:00 elapsed"), End("Complete")}},
    };
    for (const auto& c : cases) {
        const std::string bytes = Pattern(c.size);
        WriteFile(source + "/f", bytes);
        EXPECT_EQ(Run(CopyCommand(source + "/f", "f", c.total)), c.replies) << c.size;
        EXPECT_TRUE(ReadFile(target + "/f") == bytes) << c.size;
        EXPECT_EQ(job.AmountTransferred, static_cast<std::int64_t>(c.size));
        EXPECT_FALSE(command.isCommandInProgress || job.isFileCopyInProgress);
    }
    // The running total carries across commands until one resets it.
    WriteFile(source + "/b", Pattern(50));
    const Replies second = Run(CopyCommand(source + "/b", "b", 1100, "no"));
    EXPECT_NE(second.at(0).find("MsgStr: 1.0 KB of 1.1 KB"), std::string::npos) << second[0];
    EXPECT_EQ(job.AmountTransferred, 1050);
    Run(CopyCommand(source + "/b", "b", 150, "TRUE"));
    EXPECT_EQ(job.AmountTransferred, 50);
}

TEST_F(CopyJobTest, AnAbortDuringThePauseDeletesTheDestinationOnceTheChunkInHandIsWritten) {
    WriteFile(source + "/big", Pattern(3 * 2097152));
    const Replies replies = Run(CopyCommand(source + "/big", "big", 3 * 2097152, "no"), true);  // counted from 0
    ASSERT_EQ(replies.size(), 2u);
    EXPECT_NE(replies[0].find("Status: InProgress"), std::string::npos);
    EXPECT_EQ(replies[1], End("Abort"));
    EXPECT_FALSE(fs::exists(target + "/big"));
    EXPECT_EQ(fs::file_size(source + "/big"), 3u * 2097152);
    EXPECT_EQ(job.AmountTransferred, 2097152) << "the chunks counted so far";
}

TEST_F(CopyJobTest, TheDestinationIsReplacedFoldersAreMadeAndTheCompanionGoes) {
    WriteFile(source + "/f", "precious");
    WriteFile(target + "/file", "old");
    fs::create_directory(target + "/empty");
    fs::create_symlink(source + "/f", target + "/link");
    WriteFile(target + "/._file", "resource fork");
    for (const char* path : {"file", "empty", "link", "a/b/c.txt"}) {
        EXPECT_EQ(Run(CopyCommand(source + "/f", path, 8)).back(), End("Complete")) << path;
        EXPECT_EQ(ReadFile(target + "/" + path), "precious") << path;
    }
    EXPECT_FALSE(fs::is_symlink(target + "/link")) << "a link to the source is replaced, not followed";
    EXPECT_FALSE(fs::exists(target + "/._file"));
    EXPECT_EQ(ReadFile(source + "/f"), "precious");
}

TEST_F(CopyJobTest, ImpossibleCopiesEndSilentlyAndNeverTouchTheSource) {
    WriteFile(source + "/f", "precious");
    fs::create_hard_link(source + "/f", target + "/hard");
    fs::create_directory(target + "/full");
    WriteFile(target + "/full/keep", "kept");
    ASSERT_EQ(mkfifo((source + "/fifo").c_str(), 0600), 0);
    const std::pair<const char*, std::string> cases[] = {
        {"a folder as the source", CopyCommand(source, "x", 1)},
        {"a missing source", CopyCommand(source + "/missing", "x", 1)},
        {"a FIFO as the source, which must not block", CopyCommand(source + "/fifo", "x", 1)},
        {"a file name with a trailing slash", CopyCommand(source + "/f/", "x", 1)},
        {"the source itself, however spelled", CopyCommand(source + "/f", "../source/./f", 8)},
        {"a hard link of the source", CopyCommand(source + "/f", "hard", 8)},
        {"an empty destination path", CopyCommand(source + "/f", "", 8)},
        {"a folder that cannot go", CopyCommand(source + "/f", "full", 8)},
        {"a dangling link as the source, over a file that stays", CopyCommand(source + "/dangling", "full/keep", 8)},
    };
    fs::create_symlink(source + "/gone", source + "/dangling");
    for (const auto& [what, text] : cases) {
        EXPECT_TRUE(Run(text).empty()) << what;
        EXPECT_FALSE(command.isCommandInProgress) << what;
        EXPECT_EQ(ReadFile(source + "/f"), "precious") << what;
    }
    EXPECT_EQ(ReadFile(target + "/full/keep"), "kept");
    // A source that cannot be opened (here for want of a descriptor) leaves
    // what stands at the destination as it is.
    const std::string keep = CopyCommand(source + "/f", "full/keep", 8, "true", "no-descriptor");
    {
        test::NoDescriptorLeft atTheEdge;
        EXPECT_TRUE(Run(keep).empty());
    }
    EXPECT_EQ(ReadFile(target + "/full/keep"), "kept");
    EXPECT_EQ(job.SrcFileInfoMD5.Bytes(), "no-descriptor") << "a request that fails has stored its tag";
}

// SIGTERM comes once the destination is so long: before the first pause the
// copy ends in it, between pauses at the end of its chunk, leaving that many
// bytes, as the channel's loss would there: no end report, status 0.
TEST_F(CopyJobTest, ASignalEndsTheCopyInThePauseOrAtTheEndOfItsChunk) {
    const std::string bytes = Pattern(5 * 2097152);
    WriteFile(source + "/big", bytes);
    // As the process ends on it: the loop stops, and the stack unwinds to it.
    SignalWatch stopOnSignal(loop, {SIGTERM}, [&](int) { loop.Quit(0); });
    for (const auto& [signalAt, left] : {std::pair<std::size_t, std::size_t>{0, 0}, {2097152, 2 * 2097152}}) {
        bool raised = false;
        clock.onReading = [&, signalAt] {
            std::error_code missing;
            const auto size = fs::file_size(target + "/big", missing);
            if (!raised && !missing && size == signalAt) raised = std::raise(SIGTERM) == 0;
        };
        command.CommandStr = "CopyFile";
        EXPECT_THROW(job.startCopy(String(CopyCommand(source + "/big", "big", 5 * 2097152))), EndException);
        clock.onReading = nullptr;
        EXPECT_TRUE(loop.Stopping() && loop.ExitStatus() == 0);
        const Replies replies = sink.Take();
        ASSERT_EQ(replies.size(), 1u) << "the first report, and no end report";
        EXPECT_NE(replies[0].find("Status: InProgress"), std::string::npos);
        EXPECT_TRUE(ReadFile(target + "/big") == bytes.substr(0, left)) << fs::file_size(target + "/big");
    }
}

TEST_F(CopyJobTest, ADiskThatFillsEndsTheCopyWithAnExactPrefixThoughItFreesAgain) {
    constexpr std::size_t kFull = 3 * 1048576;
    const std::string bytes = Pattern(3 * 2097152);
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

TEST(SizeTextTest, SizesInBinaryUnitsAndDurationsWithTheirIrregularHours) {
    const std::pair<std::int64_t, std::string> sizes[] = {
        {0, "0.0 bytes"},     {1024, "1024.0 bytes"},     {1025, "1.0 KB"},           {1536, "1.5 KB"},
        {1048525, "1024.0 KB"},  // rounding carries up without changing the unit
        {1048577, "1.0 MB"},  {1073741824, "1024.0 MB"},  {1073741825, "1.000 GB"},  {1610612736, "1.500 GB"},
        {1099511627776, "1024.000 GB"}, {1099511627777, "1.000 TB"}, {1649267441664, "1.500 TB"}, {-2048, "-2048.0 bytes"},
        // Halves round away from zero, never to even.
        {1280, "1.3 KB"}, {1310720, "1.3 MB"}, {1140850688, "1.063 GB"}, {INT64_MAX, "8388608.000 TB"}};
    for (const auto& [size, text] : sizes) EXPECT_EQ(CopyJob::getScaledSize(size).Bytes(), text) << size;

    const std::pair<std::int32_t, std::string> durations[] = {
        {-5, "00:00"},       {1, "00:01"},       {2, "00:02"},         {59, "00:59"},        {60, "01:00"},
        {61, "01:01"},       {62, "01:02"},      {119, "01:59"},       {121, "02:01"},       {3599, "59:59"},
        {3600, "01:00:00"},  {3601, "01:00:01"}, {3660, "0101:00"},    {3661, "0101:01"},    {3725, "01:02:05"},
        {7199, "01:59:59"},  {7200, "02::00:00"}, {7260, "02:01:00"},  {7325, "02::02:05"},  {360000, "100::00:00"},
        {INT32_MIN, "00:00"}};
    for (const auto& [seconds, text] : durations) EXPECT_EQ(CopyJob::secondsToString(seconds).Bytes(), text) << seconds;
    EXPECT_EQ(std::string(CopyJob::stringFromBool(true).Bytes()) + std::string(CopyJob::stringFromBool(false).Bytes()), "truefalse");
}

// Ticks, 60 a second in signed 32 bits, wrap 2^31 sixtieths of a second after
// the system's clock started: after some 414 days of uptime.
constexpr auto kTickWrap = std::chrono::duration<std::int64_t, std::ratio<1, 60>>(std::int64_t{1} << 31);

class CopyAcrossTheTickWrapTest : public CopyJobTest {
protected:
    CopyAcrossTheTickWrapTest()
        : CopyJobTest(std::chrono::milliseconds(250),
                           TimePoint(std::chrono::duration_cast<Duration>(kTickWrap) - std::chrono::seconds(1))) {}
};

TEST_F(CopyAcrossTheTickWrapTest, ReportsComeOnceASecondAcrossTheWrapAndAfterIt) {
    WriteFile(source + "/big", Pattern(12 * 2097152));
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

}  // namespace
}  // namespace qv
