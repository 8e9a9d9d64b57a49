#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "process/Programs.h"

namespace qv {
namespace {

using test::Assistant;

// What the assistant left in /tmp, beside the tests' own folders.
std::vector<std::string> LeftInTmp() {
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        if (!entry.path().filename().string().starts_with("qvtest.")) left.push_back(entry.path());
    }
    return left;
}

class AssistantProcessTest : public test::ProcessTest {};

// A stale DISPLAY (a closed SSH forwarding) must leave it headless, not abort it.
TEST_F(AssistantProcessTest, RunsHeadlessOnAStaleDisplayAndEndsCleanlyWithItsPeerOrOnSIGTERM) {
    setenv("DISPLAY", ":87", 1);
    for (const bool byPeer : {true, false}) {
        Assistant assistant;
        ASSERT_TRUE(assistant.WaitUntilListening()) << assistant.Err();
        EXPECT_TRUE(assistant.WaitForOutput("Connecting to Quorvane...\n", 5000, true)) << "the log on stderr";
        EXPECT_FALSE(assistant.WaitForExit(300)) << "ended without a peer";
        if (byPeer) {
            const int peer = test::ConnectLocal(Assistant::kChannel);
            ASSERT_TRUE(assistant.WaitForOutput("Connected to Quorvane...\n", 5000, true)) << assistant.Err();
            close(peer);
        } else {
            assistant.Signal(SIGTERM);
        }
        EXPECT_EQ(assistant.WaitForExit(1000), 0);
        EXPECT_EQ(LeftInTmp(), std::vector<std::string>{}) << "a clean run leaves nothing in /tmp";
    }
}

#if defined(QV_WITH_QT)
// Qt ends the process when the X server goes; it must end as Quit(0) does.
TEST_F(AssistantProcessTest, OnARealDisplayTheLossOfTheDisplayEndsItWithStatusZero) {
    test::ChildProcess xvfb("/usr/bin/Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp"});
    ASSERT_TRUE(xvfb.WaitForOutput("\n", 10000)) << xvfb.Err();
    setenv("DISPLAY", (":" + xvfb.Out().substr(0, xvfb.Out().find('\n'))).c_str(), 1);
    Assistant assistant;
    ASSERT_TRUE(assistant.WaitUntilListening()) << assistant.Err();
    const int peer = test::ConnectLocal(Assistant::kChannel);
    EXPECT_FALSE(assistant.WaitForExit(500)) << assistant.Err();
    EXPECT_EQ(assistant.Err().find("Connecting to Quorvane"), std::string::npos) << "the log is in the window";
    xvfb.Signal(SIGTERM);
    EXPECT_EQ(assistant.WaitForExit(5000), 0) << assistant.Err();
    EXPECT_FALSE(std::filesystem::exists(Assistant::kChannel));
    close(peer);
}
#endif

}  // namespace
}  // namespace qv
