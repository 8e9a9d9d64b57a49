#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// Where a feature's reports go: the channel to Quorvane.
class ReportSink {
public:
    virtual ~ReportSink() = default;
    // Sends one report: `text` with the "HTTPError: " line of `errorCode`
    // unless it is -1 (see MessageText), packed and framed.
    virtual void RSSSendCommand(const String& text, std::int32_t errorCode) = 0;
    // True while the channel stands; a report for nobody ends the process.
    virtual bool IsConnected() const = 0;
};

}  // namespace qv
