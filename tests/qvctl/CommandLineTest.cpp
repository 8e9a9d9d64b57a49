#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvctl/Console.h"
#include "qvctl/CopyCommand.h"
#include "qvctl/Help.h"
#include "qvctl/Options.h"
#include "support/Support.h"

namespace qv::ctl {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Args = std::vector<std::string_view>;

Options ParseOk(const Args& args) {
    auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed)) ADD_FAILURE() << error->message;
    return std::holds_alternative<Options>(parsed) ? std::get<Options>(parsed) : Options{};
}

// What a parse gave, as one line: action, url, fields, date, goi, output,
// wait, mode, socket, and the copy's operands and options.
std::string Describe(const Options& o) {
    std::string text = std::to_string(static_cast<int>(o.action)) + " " + o.url;
    for (const Field& f : o.fields) text += " [" + f.name + "=" + f.value + "]";
    text += " date:" + o.date.value_or("-") + " goi:" + o.goi.value_or("-") + " out:" + o.outputPath.value_or("-");
    text += " wait:" + (o.wait ? std::to_string(std::chrono::duration_cast<milliseconds>(*o.wait).count()) : "-");
    text += " mode:" + std::to_string(static_cast<int>(o.output)) + std::to_string(static_cast<int>(o.verbosity)) +
            " " + o.socketPath.value_or("-") + " hdr:" + o.headerPath.value_or("-");
    if (o.action == Action::Copy) {
        text += " copy:" + o.copy.source + "," + o.copy.destinationFolder + "," + o.copy.destinationPath +
                " total:" + (o.copy.total ? std::to_string(*o.copy.total) : "-") + " tag:" + o.copy.tag.value_or("-") +
                (o.copy.resetAmount ? " reset" : " keep");
    }
    return text;
}

TEST(QvctlOptionsTest, CommandsTakeTheirOperandsAndOptionsStandAnywhereInEitherForm) {
    const std::pair<Args, std::string> cases[] = {
        {{"abort", "--socket", "/tmp/x", "--wait", "1.5", "--raw"}, "3  date:- goi:- out:- wait:1500 mode:11 /tmp/x hdr:-"},
        {{"--socket=/tmp/x", "--json", "--wait=0", "hide"}, "2  date:- goi:- out:- wait:0 mode:21 /tmp/x hdr:-"},
        {{"show", "--wait", "86400"}, "1  date:- goi:- out:- wait:86400000 mode:01 - hdr:-"},
        {{"send", "Command=GetPageURL", "GetPageURL=http://x/?a=b", "--", "--odd="},
         "4  [Command=GetPageURL] [GetPageURL=http://x/?a=b] [--odd=] date:- goi:- out:- wait:- mode:01 - hdr:-"},
        {{"--output", "page.html", "get", "http://h:8080/a?b=c"},
         "5 http://h:8080/a?b=c date:- goi:- out:page.html wait:- mode:01 - hdr:-"},
        {{"news", "--date", "2026-11-22 10:00", "http://h/", "--goi=a=b&c"},
         "7 http://h/ date:2026-11-22 10:00 goi:a=b&c out:- wait:- mode:01 - hdr:-"},
        {{"news", "http://h/", "--date=", "--goi", "-x"}, "7 http://h/ date: goi:-x out:- wait:- mode:01 - hdr:-"},
        {{"get", "--", "-odd"}, "5 -odd date:- goi:- out:- wait:- mode:01 - hdr:-"},
        {{"copy", "in.bin", "/backup", "a/b/c.txt"},
         "8  date:- goi:- out:- wait:- mode:01 - hdr:- copy:in.bin,/backup,a/b/c.txt total:- tag:- reset"},
        {{"--total", "3758096384", "copy", "in.bin", "/b", "c", "--md5=job 7", "--no-reset"},
         "8  date:- goi:- out:- wait:- mode:01 - hdr:- copy:in.bin,/b,c total:3758096384 tag:job 7 keep"},
        {{"copy", "--total=0", "in", "--md5", "", "/b", "c", "--total", "9223372036854775807"},
         "8  date:- goi:- out:- wait:- mode:01 - hdr:- copy:in,/b,c total:9223372036854775807 tag: reset"},
    };
    for (const auto& [args, expected] : cases) EXPECT_EQ(Describe(ParseOk(args)), expected);
    const std::pair<Args, std::optional<Action>> help[] = {{{"status", "-h", "--raw", "--json"}, Action::Status}, {{"help"}, std::nullopt},
                                                           {{"help", "copy"}, Action::Copy}, {{"--help", "--", "news"}, Action::News}};
    for (const auto& [args, topic] : help) EXPECT_TRUE(ParseOk(args).help && ParseOk(args).helpTopic == topic);
    EXPECT_TRUE(ParseOk({"--version"}).version);
    EXPECT_EQ(ParseOk({"-i", "--json"}).action, Action::Session);
    const Options given = ParseOk({"session", "--socket", "/x"}), none = ParseOk({"session"});
    EXPECT_TRUE(ChannelPath(given, "/e") == "/x" && ChannelPath(none, "/e") == "/e" && ChannelPath(none, "") == "/tmp/qvipc" &&
                ChannelPath(none, nullptr) == "/tmp/qvipc");
}

TEST(QvctlOptionsTest, BadArgumentsAreUsageErrors) {
    const Args cases[] = {
        {}, {"reboot"}, {"Status"}, {"status", "extra"}, {"send"}, {"send", "Command"}, {"send", "=Status"}, {"status", "-q", "-v"},
        {"get", "https://h/"}, {"get", "HTTPS://h/"}, {"get", "u", "--dump-header=f", "--json"}, {"status", "--socket"},
        {"status", "--socket="}, {"status", "--wait", "-1"}, {"status", "--wait", "2s"}, {"status", "--wait", ""},
        {"status", "--wait", "nan"}, {"status", "--wait", "86401"}, {"status", "--raw", "--json"}, {"get"}, {"get", ""},
        {"get", "http://a/", "http://b/"}, {"get", "http://a/\rCommand:Status"}, {"news", "http://a/", "--goi=\r"},
        {"news", "http://a/", "--date", "a\rb"}, {"get", "http://a/", "--date", "x"}, {"status", "--output", "f"},
        {"send", "--output", "f", "Command=x"}, {"abort", "--no-reset"}, {"get", "http://a/", "--output", ""},
        {"get", "http://a/", "--output", "f", "--json"}, {"copy", "in.bin", "/backup"}, {"copy", "in.bin", "/backup", "a", "b"},
        {"copy", "in.bin", "/backup", ""},  // the base folder itself would be the destination
        {"copy", "", "/backup", "a"}, {"copy", "in.bin", "", "a"}, {"copy", "in.bin", "/backup", "a\rCommand:Status"},
        {"copy", "in.bin", "/backup", "a", "--md5", "t\rx"}, {"copy", "in", "/b", "a", "--total", "-1"},
        {"copy", "in", "/b", "a", "--total", "1e9"}, {"copy", "in", "/b", "a", "--total", "9223372036854775808"},
        {"status", "--raw=1"}, {"status", "--help=x"}, {"help", "bogus"}, {"-i", "status"}, {"session", "x"},
    };
    for (const auto& args : cases) {
        const auto parsed = ParseOptions(args);
        ASSERT_TRUE(std::holds_alternative<UsageError>(parsed)) << testing::PrintToString(args);
        EXPECT_FALSE(std::get<UsageError>(parsed).message.empty());
    }
}

TEST(QvctlOptionsTest, TheHelpShowsEveryOptionOfTheTableWithItsValueWithinEightyColumns) {
    const std::string help = HelpText();
    for (const CommandInfo& command : CommandTable()) {
        std::istringstream lines(HelpText(command.action) + help);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
    }
    EXPECT_NE(help.find("(default 70, since the"), std::string::npos);
    for (const char* status : {"Exit status:\n  0    the reply came", "\n  130  Ctrl-C with no copy to abort, or a second one (SIGTERM:\n       143)"})
        EXPECT_NE(help.find(status), std::string::npos) << status;
    EXPECT_EQ(std::get<UsageError>(ParseOptions(Args{"help", "stats"})).message,
              "unknown command 'stats'; did you mean 'status'?");
    for (const OptionInfo& option : OptionTable()) {
        std::string label = std::string(option.name);
        if (!option.valueName.empty()) label += " " + std::string(option.valueName);
        EXPECT_NE(help.find(" " + label + "  "), std::string::npos) << label;
    }
    for (const CommandInfo& command : CommandTable()) EXPECT_NE(help.find("\n  " + std::string(command.name)), std::string::npos);
    const std::string copy = HelpText(Action::Copy);
    EXPECT_TRUE(copy.starts_with("Usage: qvctl [OPTIONS] copy SOURCE DEST_FOLDER DEST_PATH\n\nCommand \"CopyFile\""));
    EXPECT_TRUE(copy.find("--total BYTES") != std::string::npos && copy.find("--wait") != std::string::npos);
    EXPECT_EQ(copy.find("--date"), std::string::npos) << "only the options that copy takes";
}

TEST(QvctlOptionsTest, SessionLinesAreCutIntoWordsAsAShellWould) {  // the rest: the console's session
    const std::pair<std::string_view, std::optional<std::vector<std::string>>> cases[] = {
        {R"(--goi "a \"b\" \\ \x" a\ b '')", std::vector<std::string>{"--goi", R"(a "b" \ \x)", "a b", ""}},
        {"", std::vector<std::string>{}}, {R"("open\")", std::nullopt}};
    for (const auto& [line, words] : cases) EXPECT_EQ(SplitWords(line), words) << line;
}

TEST(QvctlCommandTest, ACopyIsCheckedLocallyAndSentWithEveryFieldTheTagBehindTheSource) {
    test::TempDir dir;
    test::WriteFile(dir.File("src.bin"), std::string(1234, 'x'));
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
        {{dir.File("missing"), dir.File("out"), "x"}, "'" + dir.File("missing") + "': no such file"},
        {{dir.File("out"), dir.File("out"), "x"}, "'" + dir.File("out") + "': a folder, not a file"},
        {{"/dev/null", dir.File("out"), "x"}, "'/dev/null': not a regular file (a FIFO, socket or device)"},
        {{dir.File("src.bin"), dir.File("src.bin"), "x"}, "'" + dir.File("src.bin") + "': not a folder"},
        {{dir.File("src.bin"), dir.File("missing"), "x"}, "'" + dir.File("missing") + "': no such folder"},
        {{dir.File("src.bin"), dir.Path(), "src.bin"}, "'" + dir.File("src.bin") + "' is SOURCE itself"},
        {{dir.File("src.bin"), dir.Path(), "src.bin/x"}, "'" + dir.File("src.bin") + "' is a file where a folder must be"},
        {{dir.File("src.bin"), dir.Path(), "out"}, "'" + dir.File("out") + "' is a folder that is not empty"},
    };
    test::WriteFile(dir.File("out/keep"), "");
    for (const auto& [arguments, error] : refused) EXPECT_EQ(std::get<std::string>(Localize(arguments)), error);
    for (const char* path : {"sub/", "/abs.bin", "a//b.bin"})
        EXPECT_TRUE(std::get<std::string>(Localize({dir.File("src.bin"), dir.Path(), path})).ends_with("(no '/' at either end, no '//')"));

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

}  // namespace
}  // namespace qv::ctl
