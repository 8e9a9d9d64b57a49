#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <vector>

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
    };
    for (const Args& args : cases) {
        SCOPED_TRACE(testing::PrintToString(args));
        const auto parsed = ParseOptions(args);
        ASSERT_TRUE(std::holds_alternative<UsageError>(parsed));
        EXPECT_FALSE(std::get<UsageError>(parsed).message.empty());
    }
}

}  // namespace
}  // namespace qv::ctl
