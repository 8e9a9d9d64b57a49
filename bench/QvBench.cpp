// qvbench [WORD...]: measures the figures whose names contain one of the words
// (all when none is given) and prints each as one line of JSON on standard
// output, for bench/report.py; progress goes to standard error. Each figure is
// measured in a process of its own. Exits 1 when a figure could not be
// measured, after measuring the others.

#include <cstdio>
#include <string>
#include <string_view>

#include "Figures.h"
#include "Processes.h"

namespace {

struct Figure {
    std::string_view name;
    std::string (*measure)();
};

constexpr Figure kFigures[] = {
    {"PackFrame", qv::bench::MeasurePackFrame},
    {"UnpackPayload", qv::bench::MeasureUnpackPayload},
    {"DeliverPage", qv::bench::MeasureDeliverPage},
    {"IntakeSmallFrames", qv::bench::MeasureIntakeSmallFrames},
    {"IntakeLargeFrame", qv::bench::MeasureIntakeLargeFrame},
    {"HttpReceive", qv::bench::MeasureHttpReceive},
    {"ParseRepeatedHeader", qv::bench::MeasureParseRepeatedHeader},
};

bool Chosen(std::string_view name, int argc, char** argv) {
    if (argc < 2) return true;
    for (int i = 1; i < argc; ++i) {
        if (name.find(argv[i]) != std::string_view::npos) return true;
    }
    return false;
}

// Measures one figure in a process of its own, so that what an earlier one
// left behind (a gigabyte of touched heap, the C library's settings) cannot
// move it: after the intake figures, the receive figure stood 3 to 11 %
// higher. True when it was measured.
bool MeasureApart(const Figure& figure) {
    std::fprintf(stderr, "%.*s ...\n", static_cast<int>(figure.name.size()), figure.name.data());
    return qv::bench::InOwnProcess([&] { std::printf("%s\n", figure.measure().c_str()); });
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    for (const Figure& figure : kFigures) {
        if (Chosen(figure.name, argc, argv) && !MeasureApart(figure)) status = 1;
    }
    return status;
}
