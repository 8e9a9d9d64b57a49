#include <iostream>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "qvctl/Help.h"
#include "qvctl/Options.h"
#include "qvctl/ReplyFormat.h"
#include "qvctl/Session.h"

int main(int argc, char** argv) {
    using namespace qv::ctl;
    constexpr int kUsageStatus = 1;

    const std::vector<std::string_view> args(argv + 1, argv + argc);
    const auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        std::cerr << "qvctl: " << error->message << "\nTry 'qvctl --help'.\n";
        return kUsageStatus;
    }
    const Options& options = std::get<Options>(parsed);
    if (options.help) {
        std::cout << HelpText();
        return 0;
    }

    qv::SystemClock clock;
    qv::RunLoop loop(clock);
    Session session(loop, PlanFor(options));
    session.onReply = [&](const qv::String& messageText) {
        std::cout << RenderReply(messageText, options.output) << std::flush;
    };
    const Outcome outcome = RunSession(loop, session);
    if (outcome == Outcome::NoReply) std::cerr << "qvctl: no reply in time\n";
    if (outcome == Outcome::Unreachable) {
        std::cerr << "qvctl: cannot reach the assistant at " << options.socketPath << "\n";
    }
    return static_cast<int>(outcome);
}
