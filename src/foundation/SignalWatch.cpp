#include "foundation/SignalWatch.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "foundation/platform/Platform.h"

namespace qv {

namespace {

volatile std::sig_atomic_t gWriteFd = -1;

void OnSignal(int signal) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(signal);
    if (gWriteFd >= 0) {
        const ssize_t ignored = write(gWriteFd, &byte, 1);
        (void)ignored;
    }
    errno = savedErrno;
}

}  // namespace

SignalWatch::SignalWatch(RunLoop& loop, std::initializer_list<int> signals,
                         std::function<void(int signal)> onSignal)
    : loop_(loop), signals_(signals), onSignal_(std::move(onSignal)) {
    if (gWriteFd >= 0) throw std::logic_error("one SignalWatch at a time");
    int ends[2];
    if (!platform::MakeSelfPipe(ends)) return;
    readEnd_.Reset(ends[0]);
    writeEnd_.Reset(ends[1]);
    gWriteFd = writeEnd_.Get();
    watch_ = loop_.AddUrgentWatch(readEnd_.Get(), POLLIN, [this](short) { TakeSignals(); });
    struct sigaction action {};
    action.sa_handler = OnSignal;
    // Output that a signal interrupts goes on rather than failing with EINTR.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : signals_) sigaction(signal, &action, nullptr);
}

SignalWatch::~SignalWatch() {
    for (const int signal : signals_) std::signal(signal, SIG_DFL);
    if (writeEnd_ && gWriteFd == writeEnd_.Get()) gWriteFd = -1;
}

void SignalWatch::TakeSignals() {
    unsigned char numbers[64];
    ssize_t count = 0;
    while ((count = read(readEnd_.Get(), numbers, sizeof numbers)) > 0) {
        for (ssize_t i = 0; i < count; ++i) onSignal_(numbers[i]);
    }
}

}  // namespace qv
