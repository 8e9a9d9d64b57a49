#pragma once

#include <string>
#include <utility>
#include <vector>

#include "protocol/ReportSink.h"
#include "protocol/Reports.h"

namespace qv::test {

// A channel that keeps what it is sent, each report as the message text of its
// frame, and stands or not as the test says.
class RecordingSink final : public ReportSink {
public:
    void RSSSendCommand(const String& text, std::int32_t errorCode) override {
        sent_.emplace_back(MessageText(text, errorCode).Bytes());
    }
    bool IsConnected() const override { return connected; }
    // What was sent since the last call.
    std::vector<std::string> Take() { return std::exchange(sent_, {}); }
    bool Empty() const { return sent_.empty(); }

    bool connected = true;

private:
    std::vector<std::string> sent_;
};

}  // namespace qv::test
