#include "shell/qt/QtWaitStep.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <vector>

namespace qv {

void QtWaitStep::Wait(std::span<pollfd> fds, int timeoutMs) {
    if (timeoutMs == 0 || poll(fds.data(), fds.size(), 0) > 0) {
        // Something is due already: give the window its turn without waiting.
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        poll(fds.data(), fds.size(), 0);
        return;
    }
    // Notifiers and a timer only to wake the dispatcher; what is ready is read
    // off with poll afterwards, the same way the plain wait does.
    std::vector<std::unique_ptr<QSocketNotifier>> notifiers;
    for (const pollfd& fd : fds) {
        if (fd.events & POLLIN) notifiers.push_back(std::make_unique<QSocketNotifier>(fd.fd, QSocketNotifier::Read));
        if (fd.events & POLLOUT) notifiers.push_back(std::make_unique<QSocketNotifier>(fd.fd, QSocketNotifier::Write));
    }
    QTimer deadline;
    if (timeoutMs > 0) {
        deadline.setSingleShot(true);
        deadline.setTimerType(Qt::PreciseTimer);
        deadline.start(timeoutMs);
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    notifiers.clear();
    poll(fds.data(), fds.size(), 0);
}

}  // namespace qv
