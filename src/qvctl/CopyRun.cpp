#include "qvctl/CopyRun.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "foundation/Clock.h"
#include "foundation/SignalWatch.h"
#include "protocol/CommandText.h"
#include "qvctl/CopyProgress.h"

namespace qv::ctl {

namespace {

constexpr std::size_t kDefaultColumns = 80;

std::optional<std::size_t> TerminalColumns(int fd) {
    if (!isatty(fd)) return std::nullopt;
    winsize size{};
    if (ioctl(fd, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kDefaultColumns;
    return size.ws_col;
}

}  // namespace

CopyRun::CopyRun(RunLoop& loop, std::string socketPath, const std::vector<Field>& fields,
                 std::optional<Duration> wait)
    : session_(loop, SessionPlan{std::move(socketPath), MakeFrame(CommandText(fields)), WaitFor::LastReply,
                                 wait, [](const String& reply) { return CopyEndOf(reply).has_value(); }}) {
    session_.onReply = [this](const String& reply) { Take(reply); };
}

void CopyRun::Start() {
    session_.Start();
}

bool CopyRun::RequestAbort() {
    abortRequested_ = true;
    if (running_) SendAbort();
    return running_;
}

void CopyRun::Take(const String& reply) {
    end_ = CopyEndOf(reply);
    if (!end_) {
        running_ = true;
        if (abortRequested_) SendAbort();
    }
    if (onReply) onReply(reply);
}

void CopyRun::SendAbort() {
    if (abortSent_) return;
    abortSent_ = true;
    session_.Send(MakeFrame(CommandText({{"Command", "CopyFileAbort"}})));
}

int RunCopy(const Options& options) {
    const auto local = Localize(options.copy);
    if (const auto* error = std::get_if<std::string>(&local)) {
        std::cerr << "qvctl: " << *error << "\n";
        return 1;  // as for any wrong argument
    }
    SystemClock clock;
    RunLoop loop(clock);
    CopyDisplay display(std::cout, options.output, TerminalColumns(STDOUT_FILENO));
    CopyRun run(loop, options.socketPath, CopyFileFields(std::get<LocalCopy>(local), Ticks(clock)),
                options.wait);
    run.onReply = [&](const String& reply) { display.Show(reply); };
    bool interrupted = false;
    const SignalWatch interrupts(loop, {SIGINT}, [&](int) {
        display.EndLine();
        if (interrupted) {
            // The second Ctrl-C ends qvctl as Ctrl-C ends any program.
            std::signal(SIGINT, SIG_DFL);
            std::raise(SIGINT);
        }
        interrupted = true;
        std::cerr << (run.RequestAbort() ? "qvctl: aborting the copy"
                                         : "qvctl: the abort goes once the copy has begun")
                  << "; Ctrl-C again leaves at once\n";
    });
    run.Start();
    while (!run.Result()) loop.RunOnce(std::nullopt);
    display.EndLine();
    if (*run.Result() != Outcome::Done) {
        std::cerr << OutcomeMessage(*run.Result(), options.socketPath);
        return static_cast<int>(*run.Result());
    }
    return run.End() == CopyEnd::Abort ? kCopyAbortedStatus : 0;
}

}  // namespace qv::ctl
