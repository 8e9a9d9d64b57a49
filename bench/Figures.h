#pragma once

#include <string>

namespace qv::bench {

// The figures that qvbench measures, each as one line of JSON from FigureJson
// (PairedRuns.h). Each throws std::runtime_error when it cannot be measured.

std::string MeasurePackFrame();
std::string MeasureUnpackPayload();
std::string MeasureDeliverPage();
std::string MeasureIntakeSmallFrames();
std::string MeasureIntakeLargeFrame();
std::string MeasureHttpReceive();
std::string MeasureParseRepeatedHeader();

}  // namespace qv::bench
