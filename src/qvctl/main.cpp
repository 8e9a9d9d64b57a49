#include <iostream>
#include <string_view>
#include <variant>
#include <vector>

#include "Version.h"
#include "qvctl/Console.h"
#include "qvctl/ExitStatus.h"
#include "qvctl/Help.h"
#include "qvctl/Options.h"

int main(int argc, char** argv) {
    using namespace qv::ctl;

    const std::vector<std::string_view> args(argv + 1, argv + argc);
    const auto parsed = ParseOptions(args);
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        std::cerr << "qvctl: " << error->message << "\nTry 'qvctl --help'.\n";
        return static_cast<int>(ExitStatus::Usage);
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
    return static_cast<int>(RunConsole(options, options.action == Action::Session));
}
