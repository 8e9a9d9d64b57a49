#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "process/AssistantProcess.h"
#include "support/TestPeers.h"

extern char** environ;

namespace qv {
namespace {

const std::string kChannel = "/tmp/qvipc";

struct QvctlRun {
    int exitStatus = -1;
    std::string out;
};

// Runs the real qvctl to its end and collects its standard output.
QvctlRun RunQvctl(std::vector<std::string> args) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) ADD_FAILURE() << "pipe failed";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    args.insert(args.begin(), QVCTL_BINARY);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, QVCTL_BINARY, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    QvctlRun run;
    if (spawned == 0) {
        run.out = test::ReadUntilClosed(pipeFds[0], 20000);
        int status = 0;
        if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    } else {
        ADD_FAILURE() << "cannot start " QVCTL_BINARY;
    }
    close(pipeFds[0]);
    return run;
}

bool ExitedWithZero(const std::optional<int>& status) {
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

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
        const QvctlRun run = RunQvctl(c.args);
        EXPECT_EQ(run.exitStatus, 0);
        EXPECT_EQ(run.out, c.out);
        EXPECT_TRUE(ExitedWithZero(assistant.WaitForExit(2000))) << assistant.Output();
    }
}

TEST_F(QvctlProcessTest, WithoutAnAssistantItExitsWithThree) {
    const QvctlRun run = RunQvctl({"status"});
    EXPECT_EQ(run.exitStatus, 3);
    EXPECT_EQ(run.out, "");
}

}  // namespace
}  // namespace qv
