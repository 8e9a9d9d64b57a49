#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "qvctl/Options.h"

namespace qv::ctl::test {

// Each argument list must be refused with a message, not parsed.
inline void ExpectUsageErrors(std::span<const std::vector<std::string_view>> cases) {
    for (const auto& args : cases) {
        SCOPED_TRACE(testing::PrintToString(args));
        const auto parsed = ParseOptions(args);
        ASSERT_TRUE(std::holds_alternative<UsageError>(parsed));
        EXPECT_FALSE(std::get<UsageError>(parsed).message.empty());
    }
}

}  // namespace qv::ctl::test
