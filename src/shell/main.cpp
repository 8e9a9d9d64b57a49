#include "shell/App.h"

// Takes no arguments: the assistant has nothing to configure.
int main() {
    qv::App app;
    return app.Run();
}
