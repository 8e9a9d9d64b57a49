#include "process/AssistantProcess.h"

#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

namespace qv::test {

AssistantProcess::~AssistantProcess() { Terminate(); }

bool AssistantProcess::WaitUntilListening(const std::string& path, int limitMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    if (!WaitForOutput("Connecting to Quorvane...\n", limitMs)) return false;
    const auto listening = [&] {
        struct stat info {};
        return lstat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode) && (info.st_mode & 0777) == 0600;
    };
    while (!listening()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

std::optional<int> AssistantProcess::Terminate() {
    Signal(SIGTERM);
    if (const auto status = WaitForExit(5000)) return status;
    Signal(SIGKILL);
    return WaitForExit(5000);
}

}  // namespace qv::test
