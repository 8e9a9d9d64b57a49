#include "shell/QuitOnSignal.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace qv {

namespace {

volatile std::sig_atomic_t gWakeFd = -1;

void OnSignal(int) {
    const char byte = 0;
    if (gWakeFd >= 0) {
        const ssize_t ignored = write(gWakeFd, &byte, 1);
        (void)ignored;
    }
}

}  // namespace

QuitOnSignal::QuitOnSignal(RunLoop& loop) : loop_(loop) {
    if (pipe2(pipe_, O_NONBLOCK | O_CLOEXEC) != 0) return;
    gWakeFd = pipe_[1];
    watch_ = loop_.AddWatch(pipe_[0], POLLIN, [this](short) { loop_.Quit(0); });
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

QuitOnSignal::~QuitOnSignal() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    gWakeFd = -1;
    if (watch_) loop_.RemoveWatch(*watch_);
    for (int fd : pipe_) {
        if (fd >= 0) close(fd);
    }
}

}  // namespace qv
