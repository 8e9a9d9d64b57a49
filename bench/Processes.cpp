#include "Processes.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>

extern char** environ;

namespace qv::bench {

RunTime TimeProgram(std::vector<std::string> args) {
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    pid_t pid = -1;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        throw std::runtime_error("no " + args[0]);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    const RunTime time{std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
                       CpuSecondsOf(usage)};
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error(args[0] + " failed");
    return time;
}

bool InOwnProcess(const std::function<void()>& work) {
    std::fflush(nullptr);  // nothing buffered before is written twice
    const pid_t child = fork();
    if (child < 0) {
        std::perror("fork");
        return false;
    }
    if (child == 0) {
        int status = 0;
        try {
            work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            status = 1;
        }
        std::fflush(nullptr);
        _exit(status);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

double CpuSecondsOf(const rusage& usage) {
    const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace qv::bench
