#include "process/QvctlRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

extern char** environ;

namespace qv::test {

namespace {

using Clock = std::chrono::steady_clock;

// Reads both pipes until both are closed (true) or the deadline passes;
// reading one after the other could stall a child that fills the other.
bool ReadBoth(int outFd, int errFd, std::string& out, std::string& err, Clock::time_point deadline) {
    pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
    std::string* sinks[2] = {&out, &err};
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0 || poll(fds, 2, static_cast<int>(left)) <= 0) return false;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            char buffer[65536];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n <= 0) {
                fds[i].fd = -1;  // poll skips negative descriptors
            } else {
                sinks[i]->append(buffer, static_cast<std::size_t>(n));
            }
        }
    }
    return true;
}

}  // namespace

QvctlRun RunQvctl(std::vector<std::string> args, int limitMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(limitMs);
    int outPipe[2];
    int errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    if (pipe2(errPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    args.insert(args.begin(), QVCTL_BINARY);
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, QVCTL_BINARY, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);
    QvctlRun run;
    if (spawned == 0) {
        if (!ReadBoth(outPipe[0], errPipe[0], run.out, run.err, deadline)) kill(pid, SIGKILL);
        int status = 0;
        if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) run.exitStatus = WEXITSTATUS(status);
    }
    close(outPipe[0]);
    close(errPipe[0]);
    if (spawned != 0) throw std::runtime_error("cannot start " QVCTL_BINARY);
    return run;
}

}  // namespace qv::test
