#pragma once

#include <exception>
#include <functional>

#include "foundation/String.h"

namespace qv::System {

// Writes a line for developers to the system log at debug priority.
void DebugLog(const String& text);

// Writes what can be told of an exception that no handler caught.
void DebugLogUnhandled(std::exception_ptr error);

// Sends DebugLog lines somewhere else while alive; tests use it to read them.
class ScopedDebugLogSink {
public:
    explicit ScopedDebugLogSink(std::function<void(const String&)> sink);
    ~ScopedDebugLogSink();
    ScopedDebugLogSink(const ScopedDebugLogSink&) = delete;
    ScopedDebugLogSink& operator=(const ScopedDebugLogSink&) = delete;

private:
    std::function<void(const String&)> previous_;
};

}  // namespace qv::System
