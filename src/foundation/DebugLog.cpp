#include "foundation/DebugLog.h"

#include <syslog.h>

#include <string>

namespace qv::System {

namespace {

// Process-wide like the system log itself; replaced only by a scoped sink.
std::function<void(const String&)>& Sink() {
    static std::function<void(const String&)> sink;
    return sink;
}

}  // namespace

void DebugLog(const String& text) {
    if (Sink()) {
        Sink()(text);
        return;
    }
    const std::string line(text.Bytes());
    syslog(LOG_USER | LOG_DEBUG, "%s", line.c_str());
}

void DebugLogUnhandled(std::exception_ptr error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        DebugLog(String("QVAssistant: unhandled exception: ") + String(e.what()));
    } catch (...) {
        DebugLog("QVAssistant: unhandled exception");
    }
}

ScopedDebugLogSink::ScopedDebugLogSink(std::function<void(const String&)> sink) : previous_(std::move(Sink())) {
    Sink() = std::move(sink);
}

ScopedDebugLogSink::~ScopedDebugLogSink() { Sink() = std::move(previous_); }

}  // namespace qv::System
