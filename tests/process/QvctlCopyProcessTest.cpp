#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "process/AssistantProcess.h"
#include "process/QvctlProcess.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

namespace fs = std::filesystem;

const std::string kChannel = "/tmp/qvipc";
constexpr int kCopyLimitMs = 60000;

std::string EndReport(const std::string& tag, const std::string& status) {
    return "Response: CopyFile\r\nSrcFileInfoMD5: " + tag + "\r\nStatus: " + status + "\r\nHTTPError: \r\n";
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string RandomBytes(std::size_t size) {
    std::mt19937_64 random(20261122);
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
        const std::uint64_t word = random();
        bytes.replace(i, sizeof word, reinterpret_cast<const char*>(&word), sizeof word);
    }
    return bytes;
}

// What the copy must leave alone: the source's size, blocks and times.
struct FileFacts {
    off_t size;
    blkcnt_t blocks;
    timespec modified;
    bool operator==(const FileFacts& other) const {
        return size == other.size && blocks == other.blocks && modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec;
    }
};

FileFacts FactsOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return {info.st_size, info.st_blocks, info.st_mtim};
}

// The real assistant and the real qvctl. Files live in a temporary folder on
// the same file system as the channel.
class QvctlCopyProcessTest : public ::testing::Test {
protected:
    void SetUp() override { fs::remove_all(kChannel); }
    void TearDown() override { fs::remove_all(kChannel); }

    static void ExpectEndsWithItsPeer(test::AssistantProcess& assistant) {
        EXPECT_TRUE(test::ExitedWithZero(assistant.WaitForExit(5000))) << assistant.Output();
    }

    test::TempDir dir;
};

TEST_F(QvctlCopyProcessTest, CopiesSixtyFourMebibytesByteForByteWithProgressAndTheEnd) {
    const std::string source = dir.File("source.bin");
    const std::string bytes = RandomBytes(64 * 1024 * 1024);
    std::ofstream(source, std::ios::binary) << bytes;
    const FileFacts before = FactsOf(source);
    fs::create_directory(dir.File("out"));
    test::AssistantProcess assistant;
    ASSERT_TRUE(assistant.WaitUntilListening(kChannel)) << assistant.Output();

    test::QvctlProcess qvctl({"copy", source, dir.File("out"), "deep/er/copy.bin"});
    ASSERT_EQ(qvctl.WaitForExit(kCopyLimitMs), 0) << qvctl.Output();

    // 64 MiB over 400 steps is 167772 bytes a step; the first 2 MiB chunk always reports.
    const std::string firstProgress =
        "Response: CopyFile\r\nSrcFileInfoMD5: qvctl\r\nStatus: InProgress\r\nBarPos: 12\r\n"
        "MsgStr: 2.0 MB of 64.0 MB, 00:0";
    EXPECT_TRUE(qvctl.Output().starts_with(firstProgress)) << qvctl.Output();
    EXPECT_TRUE(qvctl.Output().ends_with(EndReport("qvctl", "Complete"))) << qvctl.Output();
    EXPECT_TRUE(ReadFile(dir.File("out/deep/er/copy.bin")) == bytes) << "the copy differs from its source";
    EXPECT_EQ(FactsOf(source), before);
    ExpectEndsWithItsPeer(assistant);
}

// A sparse source of 8 GiB: the whole copy would take several report periods,
// but the source costs no space and the destination grows only until the abort.
TEST_F(QvctlCopyProcessTest, CtrlCAbortsTheCopyAndTheDestinationGoes) {
    const std::string source = dir.File("sparse.bin");
    const std::string destination = dir.File("big.bin");
    std::ofstream{source};
    fs::resize_file(source, std::uintmax_t{8} << 30);
    const FileFacts before = FactsOf(source);

    struct Case {
        const char* when;
        // What qvctl has printed when Ctrl-C comes; none: only that it is connected.
        std::string after;
    };
    const Case cases[] = {
        {"during the copy", "Status: InProgress\r\n"},
        // Most likely before the assistant's dispatcher has started the copy.
        {"as soon as qvctl is connected", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        fs::remove_all(kChannel);
        test::AssistantProcess assistant;
        ASSERT_TRUE(assistant.WaitUntilListening(kChannel)) << assistant.Output();
        test::QvctlProcess qvctl({"copy", "--md5", "abort-me", source, dir.Path(), "big.bin"});
        // qvctl watches for Ctrl-C before it connects.
        ASSERT_TRUE(assistant.WaitForOutput("Connected to Quorvane...\n")) << assistant.Output();
        if (!c.after.empty()) {
            ASSERT_TRUE(qvctl.WaitForOutput(c.after, kCopyLimitMs)) << qvctl.Output();
        }
        qvctl.Signal(SIGINT);

        ASSERT_EQ(qvctl.WaitForExit(kCopyLimitMs), 6) << qvctl.Output();
        EXPECT_NE(qvctl.Output().find("Status: InProgress\r\n"), std::string::npos) << qvctl.Output();
        EXPECT_TRUE(qvctl.Output().ends_with(EndReport("abort-me", "Abort"))) << qvctl.Output();
        EXPECT_FALSE(fs::exists(destination));
        EXPECT_EQ(FactsOf(source), before);
        ExpectEndsWithItsPeer(assistant);
    }
}

}  // namespace
}  // namespace qv
