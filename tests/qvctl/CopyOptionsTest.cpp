#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "qvctl/Options.h"
#include "qvctl/UsageErrors.h"

namespace qv::ctl {
namespace {

using Args = std::vector<std::string_view>;

TEST(QvctlCopyOptionsTest, CopyTakesThreeOperandsAndItsOwnOptionsAnywhere) {
    struct Case {
        Args args;
        std::optional<std::int64_t> total;
        std::optional<std::string> tag;
        bool resetAmount;
    };
    const Case cases[] = {
        {{"copy", "in.bin", "/backup", "a/b/c.txt"}, {}, {}, true},
        {{"--total", "3758096384", "copy", "in.bin", "/backup", "a/b/c.txt", "--md5=job 7", "--no-reset"},
         3758096384,
         "job 7",
         false},
        {{"copy", "--total=0", "in.bin", "--md5", "", "/backup", "a/b/c.txt"}, 0, "", true},
        {{"copy", "in.bin", "/backup", "a/b/c.txt", "--total", "9223372036854775807"}, INT64_MAX, {}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        const auto parsed = ParseOptions(c.args);
        ASSERT_TRUE(std::holds_alternative<Options>(parsed)) << std::get<UsageError>(parsed).message;
        const Options& options = std::get<Options>(parsed);
        EXPECT_EQ(options.action, Action::Copy);
        EXPECT_EQ(options.copy.source, "in.bin");
        EXPECT_EQ(options.copy.destinationFolder, "/backup");
        EXPECT_EQ(options.copy.destinationPath, "a/b/c.txt");
        EXPECT_EQ(options.copy.total, c.total);
        EXPECT_EQ(options.copy.tag, c.tag);
        EXPECT_EQ(options.copy.resetAmount, c.resetAmount);
        EXPECT_FALSE(options.wait) << "a copy waits without a limit unless told";
    }
}

TEST(QvctlCopyOptionsTest, BadCopyArgumentsAreUsageErrors) {
    const Args cases[] = {
        {"copy"},
        {"copy", "in.bin", "/backup"},
        {"copy", "in.bin", "/backup", "a", "b"},
        // An empty path would make the base folder itself the destination.
        {"copy", "in.bin", "/backup", ""},
        {"copy", "", "/backup", "a"},
        {"copy", "in.bin", "", "a"},
        {"copy", "in.bin", "/backup", "a\rCommand:Status"},
        {"copy", "in.bin", "/backup", "a", "--md5", "t\rx"},
        {"copy", "in.bin", "/backup", "a", "--total", "-1"},
        {"copy", "in.bin", "/backup", "a", "--total", "1e9"},
        {"copy", "in.bin", "/backup", "a", "--total", "9223372036854775808"},
        {"copy", "in.bin", "/backup", "a", "--total"},
        {"status", "--total", "5"},
        {"status", "--md5", "t"},
        {"abort", "--no-reset"},
    };
    test::ExpectUsageErrors(cases);
}

}  // namespace
}  // namespace qv::ctl
