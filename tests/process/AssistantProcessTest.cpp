#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "process/AssistantProcess.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

const std::string kChannel = "/tmp/qvipc";

std::optional<struct stat> StatOf(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return std::nullopt;
    return info;
}

std::string FirstLine(const std::string& path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    return line;
}

class AssistantProcessTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(kChannel); }
    void TearDown() override { std::filesystem::remove_all(kChannel); }

    static void WaitUntilListening(test::AssistantProcess& assistant) {
        ASSERT_TRUE(assistant.WaitUntilListening(kChannel)) << assistant.Output();
    }

    static int ConnectPeer(test::AssistantProcess& assistant) {
        const int peer = test::ConnectLocal(kChannel);
        EXPECT_GE(peer, 0);
        EXPECT_TRUE(assistant.WaitForOutput("Connected to Quorvane...\n")) << assistant.Output();
        return peer;
    }
};

TEST_F(AssistantProcessTest, WithoutAPeerItStaysUpListeningOnAPrivateSocket) {
    test::AssistantProcess assistant;
    WaitUntilListening(assistant);
    EXPECT_FALSE(assistant.WaitForExit(300)) << "ended without a peer";
    const auto info = StatOf(kChannel);
    ASSERT_TRUE(info);
    EXPECT_TRUE(S_ISSOCK(info->st_mode));
    EXPECT_EQ(info->st_mode & 0777, 0600u);
    EXPECT_EQ(assistant.Output(), "Connecting to Quorvane...\n");

    EXPECT_TRUE(test::ExitedWithZero(assistant.Terminate()));
    EXPECT_FALSE(StatOf(kChannel)) << "the socket file goes with the process";
}

TEST_F(AssistantProcessTest, APeerThatConnectsAndLeavesEndsItWithStatusZeroWithinASecond) {
    test::AssistantProcess assistant;
    WaitUntilListening(assistant);
    const int peer = ConnectPeer(assistant);
    close(peer);
    EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(1000)));
    EXPECT_FALSE(StatOf(kChannel));
}

TEST_F(AssistantProcessTest, ADisplayThatIsAnnouncedButUnreachableLeavesItHeadless) {
    const char* before = std::getenv("DISPLAY");
    const std::string saved = before ? before : "";
    setenv("DISPLAY", ":87", 1);  // a display number where nothing answers
    test::AssistantProcess assistant;
    if (before) {
        setenv("DISPLAY", saved.c_str(), 1);
    } else {
        unsetenv("DISPLAY");
    }
    WaitUntilListening(assistant);
    const int peer = ConnectPeer(assistant);
    close(peer);
    EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(1000)));
}

TEST_F(AssistantProcessTest, AStaleSocketFileIsTakenOver) {
    {
        const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, kChannel.c_str());
        ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        close(fd);  // as a process that died would leave it
        ASSERT_EQ(chmod(kChannel.c_str(), 0700), 0);
    }
    test::AssistantProcess assistant;
    WaitUntilListening(assistant);
    const int peer = ConnectPeer(assistant);
    close(peer);
    EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(1000)));
}

TEST_F(AssistantProcessTest, ASecondInstanceEndsAndLeavesTheFirstAlone) {
    for (const bool firstHasItsPeer : {false, true}) {
        SCOPED_TRACE(firstHasItsPeer ? "first connected" : "first waiting for its peer");
        test::AssistantProcess first;
        WaitUntilListening(first);
        const int earlyPeer = firstHasItsPeer ? ConnectPeer(first) : -1;
        const ino_t inode = StatOf(kChannel)->st_ino;

        test::AssistantProcess second;
        EXPECT_TRUE(test::ExitedWithZero(second.WaitForExit(5000)));

        EXPECT_FALSE(first.WaitForExit(200)) << "the first instance must live on";
        ASSERT_TRUE(StatOf(kChannel));
        EXPECT_EQ(StatOf(kChannel)->st_ino, inode);
        const int peer = firstHasItsPeer ? earlyPeer : ConnectPeer(first);
        close(peer);
        EXPECT_TRUE(test::ExitedWithZero(first.WaitForExit(1000)));
    }
}

TEST_F(AssistantProcessTest, WhatIsNotItsSocketAtThePathIsLeftAsItIs) {
    const std::string target = "/tmp/qvipc-test-target";
    std::ofstream(target) << "keep me";
    struct Case {
        const char* what;
        std::function<void()> make;
        std::function<bool(const struct stat&)> unchanged;
    };
    const Case cases[] = {
        {"regular file", [] { std::ofstream(kChannel) << "user data"; },
         [](const struct stat& s) { return S_ISREG(s.st_mode) && FirstLine(kChannel) == "user data"; }},
        {"symlink", [&] { ASSERT_EQ(symlink(target.c_str(), kChannel.c_str()), 0); },
         [&](const struct stat& s) { return S_ISLNK(s.st_mode) && FirstLine(target) == "keep me"; }},
        {"directory", [] { std::filesystem::create_directory(kChannel); },
         [](const struct stat& s) { return S_ISDIR(s.st_mode); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::filesystem::remove_all(kChannel);
        c.make();
        test::AssistantProcess assistant;
        EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(5000)));
        const auto info = StatOf(kChannel);
        ASSERT_TRUE(info);
        EXPECT_TRUE(c.unchanged(*info));
    }
    std::filesystem::remove(target);
}

}  // namespace
}  // namespace qv
