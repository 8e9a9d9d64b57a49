#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "process/AssistantProcess.h"
#include "process/QvctlRun.h"

namespace qv {
namespace {

const std::string kChannel = "/tmp/qvipc";

class QvctlProcessTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(kChannel); }
    void TearDown() override { std::filesystem::remove_all(kChannel); }
};

TEST_F(QvctlProcessTest, PrintsTheAssistantsReportAndTheAssistantEndsWhenItLeaves) {
    struct Case {
        std::vector<std::string> args;
        std::string out;
    };
    const Case cases[] = {
        {{"status"}, "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"},
        {{"--raw", "status"}, "Response: Status\\r\\n\nStatus: Ready\\r\\n\nHTTPError: \\r\\n\n"},
        {{"status", "--json"},
         R"({"fields":[{"name":"Response","value":"Status"},{"name":"Status","value":"Ready"},)"
         R"({"name":"HTTPError","value":""}],"body":""})"
         "\n"},
        {{"send", "--wait", "3", "Command=Status"}, "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n"},
        {{"show"}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.back());
        test::AssistantProcess assistant;
        ASSERT_TRUE(assistant.WaitUntilListening(kChannel)) << assistant.Output();
        const test::QvctlRun run = test::RunQvctl(c.args);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, "");
        EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(2000))) << assistant.Output();
    }
}

TEST_F(QvctlProcessTest, WithoutAnAssistantItExitsWithThree) {
    const test::QvctlRun run = test::RunQvctl({"status"});
    EXPECT_EQ(run.exitStatus, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "qvctl: cannot reach the assistant at /tmp/qvipc\n");
}

}  // namespace
}  // namespace qv
