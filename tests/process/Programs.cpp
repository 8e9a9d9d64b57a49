#include "process/Programs.h"

#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace qv::test {

namespace {

using Clock = std::chrono::steady_clock;

bool WriteProcFile(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    return static_cast<bool>(file << text << std::flush);
}

// The reason no private /tmp could be made; empty once one stands.
std::string EnterPrivateTmp() {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    // Without root, a user namespace of our own grants the right to mount.
    if (unshare(CLONE_NEWNS | (uid == 0 ? 0 : CLONE_NEWUSER)) != 0) return std::string("unshare: ") + strerror(errno);
    if (uid != 0 && !(WriteProcFile("/proc/self/setgroups", "deny") &&
                      WriteProcFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") &&
                      WriteProcFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1"))) {
        return "cannot map the user into its namespace";
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") != 0) {
        return std::string("mount: ") + strerror(errno);
    }
    return std::string();
}

}  // namespace

void ProcessTest::SetUp() {
    static const std::string whyNot = EnterPrivateTmp();
    if (!whyNot.empty()) GTEST_SKIP() << "no private /tmp for the real programs (" << whyNot << ")";
}

ChildProcess::ChildProcess(const char* binary, std::vector<std::string> args) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, files_.File("out").c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, files_.File("err").c_str(), O_WRONLY | O_CREAT, 0600);
    args.insert(args.begin(), binary);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const int spawned = posix_spawn(&pid_, binary, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) throw std::runtime_error(std::string("cannot start ") + binary);
}

ChildProcess::~ChildProcess() {
    if (!status_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

std::string ChildProcess::Read(const char* name) const {
    std::ifstream in(files_.File(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool ChildProcess::WaitForOutput(const std::string& text, int limitMs, bool onError) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    while ((onError ? Err() : Out()).find(text) == std::string::npos) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

void ChildProcess::Signal(int signal) {
    if (!status_) kill(pid_, signal);
}

std::optional<int> ChildProcess::WaitForExit(int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    for (int status = 0; !status_; std::this_thread::sleep_for(std::chrono::milliseconds(5))) {
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        } else if (Clock::now() >= deadline) {
            break;
        }
    }
    return status_;
}

bool Assistant::WaitUntilListening() {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    struct stat info {};
    while (lstat(kChannel, &info) != 0 || !S_ISSOCK(info.st_mode) || (info.st_mode & 0777) != 0600) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

QvctlRun RunQvctl(std::vector<std::string> args, int limitMs) {
    ChildProcess qvctl(QVCTL_BINARY, std::move(args));
    const std::optional<int> status = qvctl.WaitForExit(limitMs);
    return QvctlRun{status, qvctl.Out(), qvctl.Err()};
}

}  // namespace qv::test
