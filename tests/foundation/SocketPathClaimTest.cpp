#include "foundation/SocketPathClaim.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "support/TestPeers.h"

namespace qv {
namespace {

struct stat StatOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
}

bool Exists(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

// Leaves a socket file behind, as a process that died would.
void MakeStaleSocket(const std::string& path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(fd);
}

class SocketPathClaimTest : public ::testing::Test {
protected:
    test::TempDir dir;
    std::string path = dir.File("qvipc");
    int listenFd = -1;
    ~SocketPathClaimTest() override {
        if (listenFd >= 0) close(listenFd);
    }
};

TEST_F(SocketPathClaimTest, SocketIsBornWithMode0600) {
    SocketPathClaim claim;
    ASSERT_EQ(claim.Claim(path, listenFd), 0);
    const struct stat info = StatOf(path);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_GE(test::ConnectLocal(path), 0);
}

TEST_F(SocketPathClaimTest, StaleSocketOfOursIsReplaced) {
    MakeStaleSocket(path);
    ASSERT_EQ(test::ConnectLocal(path), -1) << "a stale socket refuses";
    SocketPathClaim claim;
    ASSERT_EQ(claim.Claim(path, listenFd), 0);
    const int peer = test::ConnectLocal(path);
    EXPECT_GE(peer, 0);
    close(peer);
}

TEST_F(SocketPathClaimTest, ASecondClaimWhileTheFirstLivesTouchesNothing) {
    SocketPathClaim first;
    ASSERT_EQ(first.Claim(path, listenFd), 0);
    const ino_t live = StatOf(path).st_ino;
    {
        SocketPathClaim second;
        int secondFd = -1;
        EXPECT_EQ(second.Claim(path, secondFd), 105);
        EXPECT_EQ(secondFd, -1);
    }
    EXPECT_EQ(StatOf(path).st_ino, live);
    const int peer = test::ConnectLocal(path);
    EXPECT_GE(peer, 0);
    close(peer);
}

TEST_F(SocketPathClaimTest, TheLiveTokenLeavesNothingInTheFolderAndNamesOnlyThisFolder) {
    test::TempDir otherFolder;
    {
        SocketPathClaim claim;
        ASSERT_EQ(claim.Claim(path, listenFd), 0);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1) << "the socket alone";
        SocketPathClaim elsewhere;  // the same name in another folder is another channel
        int otherFd = -1;
        EXPECT_EQ(elsewhere.Claim(otherFolder.File("qvipc"), otherFd), 0);
        close(otherFd);
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
    EXPECT_TRUE(std::filesystem::is_empty(otherFolder.Path()));
}

TEST_F(SocketPathClaimTest, WhatIsNotOurSocketIsLeftAsItIs) {
    struct Case {
        const char* what;
        std::function<void(const std::string&)> make;
        std::function<bool(const std::string&)> unchanged;
    };
    const std::string target = dir.File("target");
    {
        std::ofstream(target) << "keep me";
    }
    const auto contentIs = [](const std::string& p) {
        std::ifstream in(p);
        std::string text;
        std::getline(in, text);
        return text;
    };
    const Case cases[] = {
        {"regular file", [](const std::string& p) { std::ofstream(p) << "user data"; },
         [&](const std::string& p) { return S_ISREG(StatOf(p).st_mode) && contentIs(p) == "user data"; }},
        {"symlink", [&](const std::string& p) { ASSERT_EQ(symlink(target.c_str(), p.c_str()), 0); },
         [&](const std::string& p) { return S_ISLNK(StatOf(p).st_mode) && contentIs(target) == "keep me"; }},
        {"directory", [](const std::string& p) { ASSERT_EQ(mkdir(p.c_str(), 0700), 0); },
         [](const std::string& p) { return S_ISDIR(StatOf(p).st_mode); }},
    };
    for (const Case& c : cases) {
        const std::string at = dir.File(std::string("path-") + c.what);
        c.make(at);
        {
            SocketPathClaim claim;
            int fd = -1;
            EXPECT_EQ(claim.Claim(at, fd), 106) << c.what;
        }
        EXPECT_TRUE(c.unchanged(at)) << c.what;
    }
}

TEST_F(SocketPathClaimTest, SocketFileIsRemovedAtTheEndOnlyIfStillOurs) {
    {
        SocketPathClaim claim;
        ASSERT_EQ(claim.Claim(path, listenFd), 0);
    }
    EXPECT_FALSE(Exists(path));

    close(listenFd);
    listenFd = -1;
    {
        SocketPathClaim claim;
        ASSERT_EQ(claim.Claim(path, listenFd), 0);
        // Someone else's file takes the path meanwhile.
        ASSERT_EQ(unlink(path.c_str()), 0);
        std::ofstream(path) << "not ours";
    }
    EXPECT_TRUE(Exists(path));
}

}  // namespace
}  // namespace qv
