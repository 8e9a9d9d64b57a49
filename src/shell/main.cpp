#include <iostream>
#include <string_view>

#include "Version.h"
#include "shell/App.h"

namespace {

constexpr std::string_view kUsage = R"(Usage: qvassistant [--help | --version]

The background companion of the desktop application Quorvane. It takes no
arguments: it listens on the local socket /tmp/qvipc for one peer at a time,
runs that peer's commands, and ends when the peer leaves, or on Ctrl-C or
SIGTERM. Arguments other than a lone --help or --version are ignored.

Talk to it with qvctl from a second terminal: "qvctl status" for one command
(which then ends it), "qvctl session" for several. See qvassistant(1) and
qvctl(1).
)";

}  // namespace

// Nothing to configure, so no arguments but --help or --version alone;
// whatever else the launching application passes is ignored.
int main(int argc, char** argv) {
    const std::string_view only = argc == 2 ? argv[1] : "";
    if (only == "--version") {
        std::cout << "qvassistant " << qv::kVersion << '\n';
        return 0;
    }
    if (only == "--help") {
        std::cout << kUsage;
        return 0;
    }
    qv::App app;
    return app.Run();
}
