#include "foundation/SocketPathClaim.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/Support.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

ino_t Inode(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 ? info.st_ino : 0;
}

TEST(SocketPathClaimTest, ALiveClaimKeepsOthersOutLeavesNoFileBehindAndNamesOnlyItsFolder) {
    test::TempDir dir, otherFolder;
    const std::string path = dir.File("qvipc");
    // A socket file left behind, as by a process that died, is taken over.
    const int stale = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::strcpy(address.sun_path, path.c_str());
    ASSERT_EQ(bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(stale);
    int listenFd = -1, secondFd = -1, otherFd = -1;
    {
        SocketPathClaim first, elsewhere;
        ASSERT_EQ(first.Claim(path, listenFd), 0);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
        const ino_t live = Inode(path);
        EXPECT_EQ(SocketPathClaim().Claim(path, secondFd), 105);
        EXPECT_EQ(secondFd, -1);
        EXPECT_EQ(Inode(path), live) << "the live socket is untouched";
        EXPECT_EQ(std::distance(fs::directory_iterator(dir.Path()), {}), 1) << "the socket alone";
        EXPECT_EQ(elsewhere.Claim(otherFolder.File("qvipc"), otherFd), 0) << "the same name elsewhere is another channel";
        const int peer = test::ConnectLocal(path);
        EXPECT_GE(peer, 0);
        for (const int fd : {peer, listenFd, otherFd}) close(fd);
    }
    EXPECT_TRUE(fs::is_empty(dir.Path()) && fs::is_empty(otherFolder.Path()));
    {
        SocketPathClaim claim;  // at the end the file goes only if it is still the one made here
        ASSERT_EQ(claim.Claim(path, listenFd), 0);
        fs::remove(path);
        std::ofstream(path) << "not ours";
    }
    close(listenFd);
    EXPECT_TRUE(fs::exists(path));

    // What is not our socket is left as it is.
    std::ofstream(dir.File("target")) << "keep me";
    fs::create_symlink(dir.File("target"), dir.File("link"));
    fs::create_directory(dir.File("folder"));
    for (const char* name : {"qvipc", "link", "folder"}) {
        const ino_t before = Inode(dir.File(name));
        int fd = -1;
        EXPECT_EQ(SocketPathClaim().Claim(dir.File(name), fd), 106) << name;
        EXPECT_EQ(Inode(dir.File(name)), before) << name;
    }
    EXPECT_EQ(fs::file_size(path), 8u);
    EXPECT_EQ(fs::file_size(dir.File("target")), 7u);
}

}  // namespace
}  // namespace qv
