#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvctl/Options.h"
#include "qvctl/UsageErrors.h"

namespace qv::ctl {
namespace {

using std::chrono::milliseconds;
using Args = std::vector<std::string_view>;

Options ParseOk(const Args& args) {
    auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed)) ADD_FAILURE() << error->message;
    return std::holds_alternative<Options>(parsed) ? std::get<Options>(parsed) : Options{};
}

TEST(QvctlOptionsTest, EachCommandWordSelectsItsActionWithTheDefaults) {
    const std::pair<std::string_view, Action> cases[] = {
        {"status", Action::Status}, {"show", Action::Show}, {"hide", Action::Hide}, {"abort", Action::Abort}};
    for (const auto& [word, action] : cases) {
        SCOPED_TRACE(word);
        const Options options = ParseOk({word});
        EXPECT_EQ(options.action, action);
        EXPECT_EQ(options.socketPath, "/tmp/qvipc");
        EXPECT_FALSE(options.wait);
        EXPECT_EQ(options.output, OutputMode::Text);
    }
}

TEST(QvctlOptionsTest, SendKeepsItsPairsInOrderCutAtTheFirstEquals) {
    const Options options =
        ParseOk({"send", "Command=GetPageURL", "GetPageURL=http://x/?a=b", "--", "--odd="});
    EXPECT_EQ(options.action, Action::Send);
    ASSERT_EQ(options.fields.size(), 3u);
    EXPECT_EQ(options.fields[0].name, "Command");
    EXPECT_EQ(options.fields[0].value, "GetPageURL");
    EXPECT_EQ(options.fields[1].name, "GetPageURL");
    EXPECT_EQ(options.fields[1].value, "http://x/?a=b");
    EXPECT_EQ(options.fields[2].name, "--odd");
    EXPECT_EQ(options.fields[2].value, "");
}

TEST(QvctlOptionsTest, FetchCommandsTakeOneUrlAndTheirOwnOptions) {
    struct Case {
        Args args;
        Action action;
        std::string url;
        std::optional<std::string> date;
        std::optional<std::string> goi;
        std::optional<std::string> outputPath;
    };
    const Case cases[] = {
        {{"get", "http://127.0.0.1:8080/a?b=c"}, Action::Get, "http://127.0.0.1:8080/a?b=c", {}, {}, {}},
        {{"--output", "page.html", "get", "http://h/"}, Action::Get, "http://h/", {}, {}, "page.html"},
        {{"headers", "http://h/", "--output=h.txt"}, Action::Headers, "http://h/", {}, {}, "h.txt"},
        {{"news", "http://h/news?x=1"}, Action::News, "http://h/news?x=1", {}, {}, {}},
        {{"news", "--date", "2026-11-22 10:00", "http://h/", "--goi=a=b&c"},
         Action::News,
         "http://h/",
         "2026-11-22 10:00",
         "a=b&c",
         {}},
        {{"news", "http://h/", "--date=", "--goi", "-x"}, Action::News, "http://h/", "", "-x", {}},
        {{"get", "--", "-odd"}, Action::Get, "-odd", {}, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        const Options options = ParseOk(c.args);
        EXPECT_EQ(options.action, c.action);
        EXPECT_EQ(options.url, c.url);
        EXPECT_EQ(options.date, c.date);
        EXPECT_EQ(options.goi, c.goi);
        EXPECT_EQ(options.outputPath, c.outputPath);
        EXPECT_TRUE(options.fields.empty());
    }
}

TEST(QvctlOptionsTest, OnlyFetchCommandsAreFetches) {
    for (const Action action : {Action::Get, Action::Headers, Action::News}) EXPECT_TRUE(IsFetch(action));
    for (const Action action : {Action::Status, Action::Show, Action::Hide, Action::Abort, Action::Send}) {
        EXPECT_FALSE(IsFetch(action));
    }
}

TEST(QvctlOptionsTest, OptionsStandBeforeOrAfterTheCommandInEitherForm) {
    struct Case {
        Args args;
        Duration wait;
        OutputMode output;
    };
    const Case cases[] = {
        {{"--socket", "/tmp/x", "--wait", "1.5", "--raw", "status"}, milliseconds(1500), OutputMode::Raw},
        {{"status", "--socket=/tmp/x", "--json", "--wait=0"}, Duration::zero(), OutputMode::Json},
        {{"status", "--socket=/tmp/x", "--wait", "86400"}, std::chrono::hours(24), OutputMode::Text},
    };
    for (const Case& c : cases) {
        const Options options = ParseOk(c.args);
        EXPECT_EQ(options.action, Action::Status);
        EXPECT_EQ(options.socketPath, "/tmp/x");
        EXPECT_EQ(options.wait, c.wait);
        EXPECT_EQ(options.output, c.output);
    }
}

TEST(QvctlOptionsTest, HelpWinsOverEverythingElse) {
    EXPECT_TRUE(ParseOk({"--help"}).help);
    EXPECT_TRUE(ParseOk({"bogus", "-h", "--raw", "--json"}).help);
}

TEST(QvctlOptionsTest, BadInputIsAUsageError) {
    const Args cases[] = {
        {},
        {"reboot"},
        {"Status"},
        {"status", "extra"},
        {"send"},
        {"send", "Command"},
        {"send", "=Status"},
        {"--verbose", "status"},
        {"status", "--socket"},
        {"status", "--socket="},
        {"status", "--wait", "-1"},
        {"status", "--wait", "2s"},
        {"status", "--wait", ""},
        {"status", "--wait", "nan"},
        {"status", "--wait", "86401"},
        {"status", "--raw", "--json"},
        {"get"},
        {"get", ""},
        {"get", "http://a/", "http://b/"},
        {"headers"},
        {"news"},
        {"news", "--date"},
        {"get", "http://a/\rCommand:Status"},
        {"news", "http://a/", "--date", "a\rb"},
        {"news", "http://a/", "--goi=\r"},
        {"get", "http://a/", "--date", "x"},
        {"headers", "http://a/", "--goi", "x"},
        {"status", "--output", "f"},
        {"send", "--output", "f", "Command=GetPageURL"},
        {"get", "http://a/", "--output", ""},
        {"get", "http://a/", "--output", "f", "--json"},
    };
    test::ExpectUsageErrors(cases);
}

}  // namespace
}  // namespace qv::ctl
