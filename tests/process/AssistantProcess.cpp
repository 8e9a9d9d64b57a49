#include "process/AssistantProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace qv::test {

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

AssistantProcess::AssistantProcess() {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
    char* argv[] = {const_cast<char*>(QVASSISTANT_BINARY), nullptr};
    const int spawned = posix_spawn(&pid_, QVASSISTANT_BINARY, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    stderr_ = pipeFds[0];
    if (spawned != 0) throw std::runtime_error("cannot start " QVASSISTANT_BINARY);
}

AssistantProcess::~AssistantProcess() {
    if (!status_) Terminate();
    close(stderr_);
}

bool AssistantProcess::WaitForOutput(const std::string& text, int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    while (output_.find(text) == std::string::npos) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ready{stderr_, POLLIN, 0};
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) != 1) return false;
        char buffer[4096];
        const ssize_t n = read(stderr_, buffer, sizeof buffer);
        if (n <= 0) return output_.find(text) != std::string::npos;
        output_.append(buffer, static_cast<std::size_t>(n));
    }
    return true;
}

bool AssistantProcess::WaitUntilListening(const std::string& path, int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    if (!WaitForOutput("Connecting to Quorvane...\n", limitMs)) return false;
    const auto listening = [&] {
        struct stat info {};
        return lstat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode) && (info.st_mode & 0777) == 0600;
    };
    while (!listening()) {
        if (Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

std::optional<int> AssistantProcess::WaitForExit(int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    while (!status_) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = status;
        } else if (Clock::now() >= deadline) {
            break;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return status_;
}

std::optional<int> AssistantProcess::Terminate() {
    if (!status_) kill(pid_, SIGTERM);
    if (!WaitForExit(5000)) {
        kill(pid_, SIGKILL);
        WaitForExit(5000);
    }
    return status_;
}

bool ExitedWithZero(const std::optional<int>& status) {
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

}  // namespace qv::test
