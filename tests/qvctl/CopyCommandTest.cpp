#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <variant>

#include "qvctl/Command.h"
#include "qvctl/CopyCommand.h"
#include "support/TestPeers.h"

namespace qv::ctl {
namespace {

namespace fs = std::filesystem;

TEST(QvctlCopyCommandTest, TheCommandTextCarriesEveryFieldWithTheTagBehindTheSourceLocator) {
    LocalCopy defaults{{"/data/in file.bin", "/backup", "a/b/c.txt"}, 3758096384};
    EXPECT_EQ(CommandText(CopyFileFields(defaults, 123456)).Bytes(),
              "Command:CopyFile\rSrcFileInfo:L2RhdGEvaW4gZmlsZS5iaW4=\rSrcFileInfoMD5:qvctl\r"
              "DstFileInfo:L2JhY2t1cA==\rDstFilePath:a/b/c.txt\rStartTicks:123456\rTotalSize:3758096384\r"
              "isResetAmountTransferred:true\r");

    // --total, --md5 and --no-reset; ticks past the 32-bit wrap; bytes beyond ASCII.
    LocalCopy given{{"/srv/m\xC3\xA9"
                     "dia/x",
                     "/backup", "c.txt"},
                    4096};
    given.arguments.total = 0;
    given.arguments.tag = "job 7: two";
    given.arguments.resetAmount = false;
    EXPECT_EQ(CommandText(CopyFileFields(given, -5)).Bytes(),
              "Command:CopyFile\rSrcFileInfo:L3Nydi9tw6lkaWEveA==\rSrcFileInfoMD5:job 7: two\r"
              "DstFileInfo:L2JhY2t1cA==\rDstFilePath:c.txt\rStartTicks:-5\rTotalSize:0\r"
              "isResetAmountTransferred:false\r");
}

TEST(QvctlCopyCommandTest, LocalizeMakesThePathsAbsoluteAndReadsTheSize) {
    test::TempDir dir;
    std::ofstream(dir.File("src.bin"), std::ios::binary) << std::string(1234, 'x');
    fs::create_directory(dir.File("out"));
    const fs::path before = fs::current_path();
    fs::current_path(dir.Path());
    CopyArguments arguments{"src.bin", "out", "a/b.bin"};
    arguments.tag = "t";
    arguments.resetAmount = false;
    const auto local = Localize(arguments);
    fs::current_path(before);

    ASSERT_TRUE(std::holds_alternative<LocalCopy>(local)) << std::get<std::string>(local);
    const LocalCopy& copy = std::get<LocalCopy>(local);
    EXPECT_EQ(fs::path(copy.arguments.source), fs::path(dir.File("src.bin")));
    EXPECT_EQ(fs::path(copy.arguments.destinationFolder), fs::path(dir.File("out")));
    EXPECT_EQ(copy.arguments.destinationPath, "a/b.bin");
    EXPECT_EQ(copy.arguments.tag, "t");
    EXPECT_FALSE(copy.arguments.resetAmount);
    EXPECT_EQ(copy.sourceSize, 1234);
}

// Each of these would be a copy that the assistant drops without a word.
TEST(QvctlCopyCommandTest, LocalizeRefusesWhatTheAssistantWouldSilentlyDrop) {
    test::TempDir dir;
    std::ofstream(dir.File("file")) << "x";
    fs::create_directory(dir.File("folder"));
    struct Case {
        std::string source;
        std::string folder;
        std::string error;
    };
    const Case cases[] = {
        {dir.File("missing"), dir.File("folder"), "'" + dir.File("missing") + "' is not a file"},
        {dir.File("folder"), dir.File("folder"), "'" + dir.File("folder") + "' is not a file"},
        {dir.File("file"), dir.File("file"), "'" + dir.File("file") + "' is not a folder"},
        {dir.File("file"), dir.File("nowhere"), "'" + dir.File("nowhere") + "' is not a folder"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source + " -> " + c.folder);
        const auto local = Localize({c.source, c.folder, "x"});
        ASSERT_TRUE(std::holds_alternative<std::string>(local));
        EXPECT_EQ(std::get<std::string>(local), c.error);
    }
}

TEST(QvctlCopyCommandTest, OnlyACopyEndReportEndsTheCopy) {
    struct Case {
        const char* reply;
        std::optional<CopyEnd> end;
    };
    const Case cases[] = {
        {"Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n",
         CopyEnd::Complete},
        {"Response: CopyFile\r\nSrcFileInfoMD5: \r\nStatus: Abort\r\nHTTPError: \r\n", CopyEnd::Abort},
        {"Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: 12\r\n"
         "MsgStr: 1.0 MB of 2.0 MB, 00:01 elapsed\r\nHTTPError: \r\n",
         std::nullopt},
        {"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n", std::nullopt},
        // A tag that looks like a status line stays a tag.
        {"Response: CopyFile\r\nSrcFileInfoMD5: Status: Complete\r\nStatus: InProgress\r\n", std::nullopt},
        {"Status: Complete\r\nResponse: CopyFile\r\n", std::nullopt},
        {"Response: CopyFile\r\nStatus: complete\r\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reply);
        EXPECT_EQ(CopyEndOf(String(c.reply)), c.end);
    }
}

}  // namespace
}  // namespace qv::ctl
