#include "qvctl/CopyRun.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "foundation/Clock.h"
#include "foundation/SignalWatch.h"
#include "protocol/CommandText.h"
#include "qvctl/CopyProgress.h"
#include "qvctl/ExitStatus.h"

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
    : loop_(loop),
      session_(loop, SessionPlan{std::move(socketPath), MakeFrame(CommandText(fields)), WaitFor::LastReply,
                                 wait, [](const String& reply) { return CopyEndOf(reply).has_value(); }}) {
    session_.onReply = [this](const String& reply) { Take(reply); };
}

void CopyRun::Start() {
    firstReport_ = loop_.AddTimer(loop_.GetClock().Now() + kFirstReportWait, [this] {
        notStarted_ = true;
        session_.Finish(Outcome::NoReply);
    });
    session_.Start();
}

bool CopyRun::RequestAbort() {
    abortRequested_ = true;
    if (running_) SendAbort();
    return running_;
}

void CopyRun::Take(const String& reply) {
    firstReport_.Reset();
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
    session_.Send(MakeFrame(CommandText(AbortCommand().fields)));
}

int RunCopy(const Options& options) {
    const auto local = Localize(options.copy);
    if (const auto* error = std::get_if<std::string>(&local)) {
        std::cerr << "qvctl: " << *error << "\n";
        return kUsageStatus;  // as for any wrong argument
    }
    const LocalCopy& copy = std::get<LocalCopy>(local);
    SystemClock clock;
    RunLoop loop(clock);
    CopyDisplay display(std::cout, options.output, TerminalColumns(STDOUT_FILENO), clock, DestinationOf(copy),
                        copy.sourceSize);
    CopyRun run(loop, options.socketPath, CopyFileFields(copy, Ticks(clock)), options.wait);
    run.onReply = [&](const String& reply) { display.Show(reply); };
    bool interrupted = false;
    const SignalWatch interrupts(loop, {SIGINT}, [&](int) {
        // The terminal has echoed "^C" where the cursor was; the message goes below it.
        if (!display.EndLine() && isatty(STDERR_FILENO)) std::cerr << '\n';
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
    if (run.NotStarted()) {
        std::cerr << NotStartedMessage();
        return static_cast<int>(Outcome::NoReply);
    }
    if (*run.Result() != Outcome::Done) {
        std::cerr << OutcomeMessage(*run.Result(), options.socketPath);
        return static_cast<int>(*run.Result());
    }
    return run.End() == CopyEnd::Abort ? kCopyAbortedStatus : 0;
}

std::string NotStartedMessage() {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(kFirstReportWait).count();
    return "qvctl: the assistant did not start the copy: no report came within " + std::to_string(seconds) +
           " s.\n"
           "It drops a copy that it cannot start without a word, for example when\n"
           "  - SOURCE cannot be opened for reading (no permission, a FIFO or device),\n"
           "  - the destination cannot be made or written (no permission, a full\n"
           "    disk, a read-only file system),\n"
           "  - the destination is SOURCE itself under another name.\n";
}

}  // namespace qv::ctl
