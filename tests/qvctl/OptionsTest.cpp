#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvctl/Help.h"
#include "qvctl/Options.h"

namespace qv::ctl {
namespace {

using std::chrono::milliseconds;
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
    text += " mode:" + std::to_string(static_cast<int>(o.output)) + " " + o.socketPath;
    if (o.action == Action::Copy) {
        text += " copy:" + o.copy.source + "," + o.copy.destinationFolder + "," + o.copy.destinationPath +
                " total:" + (o.copy.total ? std::to_string(*o.copy.total) : "-") + " tag:" + o.copy.tag.value_or("-") +
                (o.copy.resetAmount ? " reset" : " keep");
    }
    return text;
}

TEST(QvctlOptionsTest, CommandsTakeTheirOperandsAndOptionsStandAnywhereInEitherForm) {
    const std::pair<Args, std::string> cases[] = {
        {{"status"}, "0  date:- goi:- out:- wait:- mode:0 /tmp/qvipc"},
        {{"abort", "--socket", "/tmp/x", "--wait", "1.5", "--raw"}, "3  date:- goi:- out:- wait:1500 mode:1 /tmp/x"},
        {{"--socket=/tmp/x", "--json", "--wait=0", "hide"}, "2  date:- goi:- out:- wait:0 mode:2 /tmp/x"},
        {{"show", "--wait", "86400"}, "1  date:- goi:- out:- wait:86400000 mode:0 /tmp/qvipc"},
        {{"send", "Command=GetPageURL", "GetPageURL=http://x/?a=b", "--", "--odd="},
         "4  [Command=GetPageURL] [GetPageURL=http://x/?a=b] [--odd=] date:- goi:- out:- wait:- mode:0 /tmp/qvipc"},
        {{"--output", "page.html", "get", "http://h:8080/a?b=c"},
         "5 http://h:8080/a?b=c date:- goi:- out:page.html wait:- mode:0 /tmp/qvipc"},
        {{"headers", "http://h/", "--output=h.txt"}, "6 http://h/ date:- goi:- out:h.txt wait:- mode:0 /tmp/qvipc"},
        {{"news", "--date", "2026-11-22 10:00", "http://h/", "--goi=a=b&c"},
         "7 http://h/ date:2026-11-22 10:00 goi:a=b&c out:- wait:- mode:0 /tmp/qvipc"},
        {{"news", "http://h/", "--date=", "--goi", "-x"}, "7 http://h/ date: goi:-x out:- wait:- mode:0 /tmp/qvipc"},
        {{"get", "--", "-odd"}, "5 -odd date:- goi:- out:- wait:- mode:0 /tmp/qvipc"},
        {{"copy", "in.bin", "/backup", "a/b/c.txt"},
         "8  date:- goi:- out:- wait:- mode:0 /tmp/qvipc copy:in.bin,/backup,a/b/c.txt total:- tag:- reset"},
        {{"--total", "3758096384", "copy", "in.bin", "/b", "c", "--md5=job 7", "--no-reset"},
         "8  date:- goi:- out:- wait:- mode:0 /tmp/qvipc copy:in.bin,/b,c total:3758096384 tag:job 7 keep"},
        {{"copy", "--total=0", "in", "--md5", "", "/b", "c", "--total", "9223372036854775807"},
         "8  date:- goi:- out:- wait:- mode:0 /tmp/qvipc copy:in,/b,c total:9223372036854775807 tag: reset"},
    };
    for (const auto& [args, expected] : cases) EXPECT_EQ(Describe(ParseOk(args)), expected);
    EXPECT_TRUE(ParseOk({"bogus", "-h", "--raw", "--json"}).help) << "help wins over everything else";
    for (const Action action : {Action::Get, Action::Headers, Action::News}) EXPECT_TRUE(IsFetch(action));
    for (const Action action : {Action::Status, Action::Abort, Action::Send, Action::Copy}) EXPECT_FALSE(IsFetch(action));
}

TEST(QvctlOptionsTest, BadArgumentsAreUsageErrors) {
    const Args cases[] = {
        {}, {"reboot"}, {"Status"}, {"status", "extra"}, {"send"}, {"send", "Command"}, {"send", "=Status"},
        {"--verbose", "status"}, {"status", "--socket"}, {"status", "--socket="}, {"status", "--wait", "-1"},
        {"status", "--wait", "2s"}, {"status", "--wait", ""}, {"status", "--wait", "nan"}, {"status", "--wait", "86401"},
        {"status", "--raw", "--json"}, {"get"}, {"get", ""}, {"get", "http://a/", "http://b/"}, {"news", "--date"},
        {"get", "http://a/\rCommand:Status"}, {"news", "http://a/", "--goi=\r"}, {"get", "http://a/", "--date", "x"},
        {"headers", "http://a/", "--goi", "x"}, {"status", "--output", "f"}, {"get", "http://a/", "--output", ""},
        {"get", "http://a/", "--output", "f", "--json"}, {"copy", "in.bin", "/backup"},
        {"copy", "in.bin", "/backup", "a", "b"},
        {"copy", "in.bin", "/backup", ""},  // the base folder itself would be the destination
        {"copy", "", "/backup", "a"}, {"copy", "in.bin", "/backup", "a\rCommand:Status"},
        {"copy", "in.bin", "/backup", "a", "--md5", "t\rx"}, {"copy", "in", "/b", "a", "--total", "-1"},
        {"copy", "in", "/b", "a", "--total", "1e9"}, {"copy", "in", "/b", "a", "--total", "9223372036854775808"},
        {"status", "--md5", "t"}, {"abort", "--no-reset"}, {"send", "--output", "f", "Command=x"},
        {"copy", "in.bin", "", "a"}, {"copy", "in", "/b", "a", "--total"}, {"status", "--total", "5"},
        {"news", "http://a/", "--date", "a\rb"},
        {"status", "--raw=1"},
        {"status", "--help=x"},
    };
    for (const auto& args : cases) {
        const auto parsed = ParseOptions(args);
        ASSERT_TRUE(std::holds_alternative<UsageError>(parsed)) << testing::PrintToString(args);
        EXPECT_FALSE(std::get<UsageError>(parsed).message.empty());
    }
}

TEST(QvctlOptionsTest, TheHelpShowsEveryOptionOfTheTableWithItsValue) {
    const std::string help = HelpText();
    for (const OptionSpec& option : OptionTable()) {
        std::string label = std::string(option.name);
        if (!option.valueName.empty()) label += " " + std::string(option.valueName);
        EXPECT_NE(help.find(" " + label + "  "), std::string::npos) << label;
    }
}

}  // namespace
}  // namespace qv::ctl
