#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "process/Programs.h"
#include "support/NginxServer.h"
#include "support/Support.h"

namespace qv {
namespace {

using namespace std::string_literals;
using test::Assistant;

// qvctl against a fresh assistant, which ends with its one peer.
test::QvctlRun RunWithAssistant(const std::vector<std::string>& args) {
    Assistant assistant;
    EXPECT_TRUE(assistant.WaitUntilListening()) << assistant.Err();
    test::QvctlRun run = test::RunQvctl(args);
    EXPECT_EQ(assistant.WaitForExit(2000), 0) << assistant.Err();
    return run;
}

class QvctlProcessTest : public test::ProcessTest {};

TEST_F(QvctlProcessTest, StatusFromTheRealAssistantAndExitThreeWithoutOne) {
    const test::QvctlRun alone = test::RunQvctl({"status"});
    EXPECT_EQ(alone.exitStatus, 3);
    EXPECT_EQ(alone.err, "qvctl: cannot reach the assistant at /tmp/qvipc\n");

    const test::QvctlRun run = RunWithAssistant({"status"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.out, "Response: Status\r\nStatus: Ready\r\nHTTPError: \r\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(QvctlProcessTest, APageFromARealNginxByteForByteAndExitFourForARefusedFetch) {
    test::NginxServer nginx;
    const std::string body = "\x89PNG\0\r\n\r\n\x7f\x80\xfe\xff end"s;
    nginx.WriteFile("data.bin", body);
    const std::string url = nginx.Url("/data.bin");
    const test::QvctlRun run = RunWithAssistant({"get", "--wait", "15", url});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_TRUE(run.out == body);
    EXPECT_TRUE(run.err.starts_with("Response: GetPageURL\r\nHTTPURL: " + url +
                                    "\r\nHTTPStatus: 200\r\nHTTPError: 0\r\nServer: "))
        << run.err;
    EXPECT_NE(run.err.find("\r\nContent-Length: " + std::to_string(body.size()) + "\r\n"), std::string::npos);

    test::TcpListener closed;
    closed.StopListening();
    const test::QvctlRun refused =
        RunWithAssistant({"get", "--wait", "15", "http://127.0.0.1:" + std::to_string(closed.Port()) + "/"});
    EXPECT_EQ(refused.exitStatus, 4);
    EXPECT_EQ(refused.err, "HTTPError: 102\r\n");
}

// A sparse source of 8 GiB: the copy takes several report periods, the source
// costs no space, and the destination grows only until the abort.
TEST_F(QvctlProcessTest, CtrlCAbortsACopyAndTheDestinationGoes) {
    test::TempDir dir;
    const std::string source = dir.File("sparse.bin");
    std::ofstream{source};
    std::filesystem::resize_file(source, std::uintmax_t{8} << 30);
    struct stat before {};
    stat(source.c_str(), &before);

    Assistant assistant;
    ASSERT_TRUE(assistant.WaitUntilListening()) << assistant.Err();
    test::ChildProcess qvctl(QVCTL_BINARY, {"copy", "--md5", "abort-me", source, dir.Path(), "big.bin"});
    ASSERT_TRUE(qvctl.WaitForOutput("Status: InProgress\r\n", 60000)) << qvctl.Out() << qvctl.Err();
    qvctl.Signal(SIGINT);
    EXPECT_EQ(qvctl.WaitForExit(60000), 6) << qvctl.Err();
    EXPECT_TRUE(qvctl.Out().ends_with("Response: CopyFile\r\nSrcFileInfoMD5: abort-me\r\nStatus: Abort\r\nHTTPError: \r\n"))
        << qvctl.Out();
    EXPECT_FALSE(std::filesystem::exists(dir.File("big.bin")));
    struct stat after {};
    stat(source.c_str(), &after);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_size, before.st_size);
    EXPECT_EQ(assistant.WaitForExit(5000), 0);
}

}  // namespace
}  // namespace qv
