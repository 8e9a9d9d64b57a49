#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "qvctl/Command.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Session.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

TEST(QvctlCommandTest, EachCommandIsItsFieldsAndWaitsAsItsRepliesRequire) {
    const struct {
        Action action;
        std::vector<Field> fields;
        std::string url;
        std::optional<std::string> date, goi;
        const char* text;
        WaitFor waitFor;
        Duration wait;  // a fetch leaves room for the assistant's own 60-second limit
    } cases[] = {
        {Action::Status, {}, "", {}, {}, "Command:Status\r", WaitFor::FirstReply, seconds(5)},
        {Action::Abort, {}, "", {}, {}, "Command:CopyFileAbort\r", WaitFor::FirstReply, seconds(5)},
        {Action::Hide, {}, "", {}, {}, "Command:Hide\r", WaitFor::NoReply, seconds(3)},
        {Action::Send, {{"Command", "Status"}, {"E", ""}}, "", {}, {}, "Command:Status\rE:\r", WaitFor::EveryReply, seconds(5)},
        {Action::Get, {}, "http://h/a b", {}, {}, "Command:GetPageURL\rGetPageURL:http://h/a b\r", WaitFor::FirstReply,
         seconds(70)},
        {Action::Headers, {}, "h", {}, {}, "Command:GetHeadersURL\rGetHeadersURL:h\r", WaitFor::FirstReply, seconds(70)},
        {Action::News, {}, "h/n", "2026-11-22 10:00", "\xc3\xa9:x",
         "Command:GetNews\rWebAddress:h/n\rDateStr:2026-11-22 10:00\rGOIStr:\xc3\xa9:x\r", WaitFor::FirstReply,
         seconds(70)},
        {Action::News, {}, "h/", {}, {}, "Command:GetNews\rWebAddress:h/\rDateStr:\rGOIStr:\r", WaitFor::FirstReply,
         seconds(70)},
    };
    for (const auto& c : cases) {
        Options options;
        options.action = c.action;
        options.fields = c.fields;
        options.url = c.url;
        options.date = c.date;
        options.goi = c.goi;
        EXPECT_EQ(CommandText(CommandFor(options).fields).Bytes(), c.text);
        EXPECT_EQ(PlanFor(options).waitFor, c.waitFor) << c.text;
        EXPECT_EQ(PlanFor(options).wait, c.wait) << c.text;
        options.wait = seconds(1);
        EXPECT_EQ(PlanFor(options).wait, seconds(1)) << "--wait overrides the default";
    }
}

TEST(QvctlCommandTest, ACopyIsCheckedLocallyAndSentWithEveryFieldTheTagBehindTheSource) {
    test::TempDir dir;
    std::ofstream(dir.File("src.bin"), std::ios::binary) << std::string(1234, 'x');
    fs::create_directory(dir.File("out"));
    const fs::path before = fs::current_path();
    fs::current_path(dir.Path());
    const auto local = Localize({"src.bin", "out", "a/b.bin"});
    fs::current_path(before);
    ASSERT_TRUE(std::holds_alternative<LocalCopy>(local)) << std::get<std::string>(local);
    const LocalCopy& copy = std::get<LocalCopy>(local);
    EXPECT_EQ(fs::path(copy.arguments.source), fs::path(dir.File("src.bin"))) << "made absolute";
    EXPECT_EQ(fs::path(copy.arguments.destinationFolder), fs::path(dir.File("out")));
    EXPECT_EQ(copy.sourceSize, 1234);

    // Each of these would be a copy that the assistant drops without a word.
    const std::pair<CopyArguments, std::string> refused[] = {
        {{dir.File("missing"), dir.File("out"), "x"}, "'" + dir.File("missing") + "' is not a file"},
        {{dir.File("out"), dir.File("out"), "x"}, "'" + dir.File("out") + "' is not a file"},
        {{dir.File("src.bin"), dir.File("src.bin"), "x"}, "'" + dir.File("src.bin") + "' is not a folder"},
    };
    for (const auto& [arguments, error] : refused) EXPECT_EQ(std::get<std::string>(Localize(arguments)), error);

    LocalCopy given{{"/srv/m\xC3\xA9" "dia/x", "/backup", "c.txt"}, 4096};
    EXPECT_EQ(CommandText(CopyFileFields(given, 123456)).Bytes(),
              "Command:CopyFile\rSrcFileInfo:L3Nydi9tw6lkaWEveA==\rSrcFileInfoMD5:qvctl\r"
              "DstFileInfo:L2JhY2t1cA==\rDstFilePath:c.txt\rStartTicks:123456\rTotalSize:4096\r"
              "isResetAmountTransferred:true\r");
    given.arguments.total = 0;
    given.arguments.tag = "job 7: two";
    given.arguments.resetAmount = false;
    EXPECT_EQ(CommandText(CopyFileFields(given, -5)).Bytes(),
              "Command:CopyFile\rSrcFileInfo:L3Nydi9tw6lkaWEveA==\rSrcFileInfoMD5:job 7: two\r"
              "DstFileInfo:L2JhY2t1cA==\rDstFilePath:c.txt\rStartTicks:-5\rTotalSize:0\r"
              "isResetAmountTransferred:false\r");
}

TEST(QvctlCommandTest, OnlyACopyEndReportEndsTheCopy) {
    const std::pair<const char*, std::optional<CopyEnd>> cases[] = {
        {"Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: Complete\r\nHTTPError: \r\n", CopyEnd::Complete},
        {"Response: CopyFile\r\nSrcFileInfoMD5: \r\nStatus: Abort\r\nHTTPError: \r\n", CopyEnd::Abort},
        {"Response: CopyFile\r\nSrcFileInfoMD5: q\r\nStatus: InProgress\r\nBarPos: 12\r\nMsgStr: m\r\n", std::nullopt},
        {"Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n", std::nullopt},
        // A tag that looks like a status line stays a tag.
        {"Response: CopyFile\r\nSrcFileInfoMD5: Status: Complete\r\nStatus: InProgress\r\n", std::nullopt},
        {"Status: Complete\r\nResponse: CopyFile\r\n", std::nullopt},
        {"Response: CopyFile\r\nStatus: complete\r\n", std::nullopt},
    };
    for (const auto& [reply, end] : cases) EXPECT_EQ(CopyEndOf(String(reply)), end) << reply;
}

}  // namespace
}  // namespace qv::ctl
