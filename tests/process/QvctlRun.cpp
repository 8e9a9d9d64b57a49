#include "process/QvctlRun.h"

#include <signal.h>

#include "process/ChildProcess.h"

namespace qv::test {

QvctlRun RunQvctl(std::vector<std::string> args, int limitMs) {
    ChildProcess qvctl(QVCTL_BINARY, std::move(args));
    std::optional<int> status = qvctl.WaitForExit(limitMs);
    if (!status) {
        qvctl.Signal(SIGKILL);
        status = qvctl.WaitForExit(5000);
    }
    return QvctlRun{ExitCode(status).value_or(-1), qvctl.Out(), qvctl.Err()};
}

}  // namespace qv::test
