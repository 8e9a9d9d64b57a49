#include "process/ChildProcess.h"

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

ChildProcess::ChildProcess(const char* binary, std::vector<std::string> args) {
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    args.insert(args.begin(), binary);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const int spawned = posix_spawn(&pid_, binary, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    pipes_[0] = out[0];
    pipes_[1] = err[0];
    if (spawned != 0) {
        status_ = 0;
        throw std::runtime_error(std::string("cannot start ") + binary);
    }
}

ChildProcess::~ChildProcess() {
    if (!status_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (int fd : pipes_) {
        if (fd >= 0) close(fd);
    }
}

bool ChildProcess::ReadSome(int limitMs) {
    pollfd fds[2] = {{pipes_[0], POLLIN, 0}, {pipes_[1], POLLIN, 0}};
    if (pipes_[0] < 0 && pipes_[1] < 0) return false;
    if (poll(fds, 2, limitMs) <= 0) return true;
    for (int i = 0; i < 2; ++i) {
        if (pipes_[i] < 0 || fds[i].revents == 0) continue;
        char buffer[65536];
        const ssize_t n = read(pipes_[i], buffer, sizeof buffer);
        if (n > 0) {
            output_[i].append(buffer, static_cast<std::size_t>(n));
        } else {
            close(pipes_[i]);
            pipes_[i] = -1;  // poll passes over negative descriptors
        }
    }
    return true;
}

bool ChildProcess::WaitForOutput(Stream stream, const std::string& text, int limitMs) {
    const std::string& output = output_[stream == Stream::Out ? 0 : 1];
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    while (output.find(text) == std::string::npos) {
        if (MsLeft(deadline) == 0 || !ReadSome(MsLeft(deadline))) return output.find(text) != std::string::npos;
    }
    return true;
}

void ChildProcess::Signal(int signal) {
    if (!status_) kill(pid_, signal);
}

std::optional<int> ChildProcess::WaitForExit(int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    // The pipes close when the process ends.
    while (MsLeft(deadline) > 0 && ReadSome(MsLeft(deadline))) {
    }
    // It may close them a moment before it can be reaped.
    while (!status_) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = status;
        } else if (MsLeft(deadline) == 0) {
            break;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return status_;
}

bool ExitedWithZero(const std::optional<int>& status) {
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

std::optional<int> ExitCode(const std::optional<int>& status) {
    if (!status) return std::nullopt;
    return WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
}

}  // namespace qv::test
