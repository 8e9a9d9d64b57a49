#include <iostream>
#include <string_view>

#include "Version.h"
#include "shell/App.h"

// Nothing to configure, so no arguments but --version alone; whatever else the
// launching application passes is ignored.
int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        std::cout << "qvassistant " << qv::kVersion << '\n';
        return 0;
    }
    qv::App app;
    return app.Run();
}
