#include "process/QvctlProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace qv::test {

namespace {

using Clock = std::chrono::steady_clock;

int MsLeft(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

}  // namespace

QvctlProcess::QvctlProcess(std::vector<std::string> args) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    args.insert(args.begin(), QVCTL_BINARY);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const int spawned = posix_spawn(&pid_, QVCTL_BINARY, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    stdout_ = pipeFds[0];
    if (spawned != 0) throw std::runtime_error("cannot start " QVCTL_BINARY);
}

QvctlProcess::~QvctlProcess() {
    if (!exitStatus_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(stdout_);
}

bool QvctlProcess::ReadSome(int limitMs) {
    pollfd ready{stdout_, POLLIN, 0};
    if (poll(&ready, 1, limitMs) != 1) return true;
    char buffer[65536];
    const ssize_t n = read(stdout_, buffer, sizeof buffer);
    if (n <= 0) return false;
    output_.append(buffer, static_cast<std::size_t>(n));
    return true;
}

bool QvctlProcess::WaitForOutput(const std::string& text, int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    while (output_.find(text) == std::string::npos) {
        if (MsLeft(deadline) == 0 || !ReadSome(MsLeft(deadline)))
            return output_.find(text) != std::string::npos;
    }
    return true;
}

void QvctlProcess::Signal(int signal) {
    if (!exitStatus_) kill(pid_, signal);
}

std::optional<int> QvctlProcess::WaitForExit(int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    // The pipe closes when the process ends.
    while (MsLeft(deadline) > 0 && ReadSome(MsLeft(deadline))) {
    }
    // It may close the pipe a moment before it can be reaped.
    while (!exitStatus_) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        } else if (MsLeft(deadline) == 0) {
            break;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return exitStatus_;
}

}  // namespace qv::test
