#include <fstream>
#include <iostream>
#include <string_view>
#include <variant>
#include <vector>

#include "Version.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "qvctl/Console.h"
#include "qvctl/CopyRun.h"
#include "qvctl/ExitStatus.h"
#include "qvctl/FetchReply.h"
#include "qvctl/Help.h"
#include "qvctl/Options.h"
#include "qvctl/ReplyFormat.h"
#include "qvctl/Session.h"

int main(int argc, char** argv) {
    using namespace qv::ctl;

    const std::vector<std::string_view> args(argv + 1, argv + argc);
    const auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        std::cerr << "qvctl: " << error->message << "\nTry 'qvctl --help'.\n";
        return kUsageStatus;
    }
    const Options& options = std::get<Options>(parsed);
    if (options.help) {
        std::cout << HelpText(options.helpTopic);
        return 0;
    }
    if (options.version) {
        std::cout << "qvctl " << qv::kVersion << "\n";
        return 0;
    }
    if (options.action == Action::Copy) return RunCopy(options);
    if (options.action == Action::Session) return RunConsole(options);

    // Opened before the fetch, as a shell redirection would be, so that a path
    // that cannot be written costs no wait.
    std::ofstream file;
    if (options.outputPath) file.open(*options.outputPath, std::ios::binary | std::ios::trunc);
    std::ostream& bodyOut = options.outputPath ? file : std::cout;
    const std::string_view bodyTarget =
        options.outputPath ? std::string_view(*options.outputPath) : "standard output";
    if (!bodyOut) {
        std::cerr << "qvctl: cannot write " << bodyTarget << "\n";
        return kOutputFailedStatus;
    }

    qv::SystemClock clock;
    qv::RunLoop loop(clock);
    Session session(loop, PlanFor(options));
    bool fetchFailed = false;
    session.onReply = [&](const qv::String& messageText) {
        if (!IsFetch(options.action)) {
            std::cout << RenderReply(messageText, options.output) << std::flush;
            return;
        }
        const FetchPrintout printout = RenderFetchReply(messageText, options.output);
        std::cerr << printout.lines << std::flush;
        bodyOut << printout.body << std::flush;
        fetchFailed = !printout.delivered;
    };
    const Outcome outcome = RunSession(loop, session);
    std::cerr << OutcomeMessage(outcome, options.socketPath);
    if (outcome != Outcome::Done) return static_cast<int>(outcome);
    if (!bodyOut) {
        std::cerr << "qvctl: cannot write " << bodyTarget << "\n";
        return kOutputFailedStatus;
    }
    return fetchFailed ? kFetchFailedStatus : 0;
}
