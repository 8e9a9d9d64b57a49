#include <fstream>
#include <iostream>

#include "qvctl/Docs.h"

// Writes qvctl's manual page and bash completion to the two paths given; run
// by the build.
int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: qvctl-docs MANUAL_PAGE COMPLETION\n";
        return 1;
    }
    std::ofstream page(argv[1]), completion(argv[2]);
    page << qv::ctl::ManualPage();
    completion << qv::ctl::BashCompletion();
    return page && completion ? 0 : 1;
}
