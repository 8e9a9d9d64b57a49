#pragma once

#include "foundation/DebugLog.h"
#include "foundation/Exceptions.h"

namespace qv {

// The catch-all that a few handlers put around their whole body: an exception
// ends the body, leaves `tag` in the debug log and nothing else, and the
// handler returns normally. Quit's unwinding is not an error and passes on.
template <class Body>
void WithCatchAll(const char* tag, Body&& body) {
    try {
        body();
    } catch (const EndException&) {
        throw;
    } catch (...) {
        System::DebugLog(tag);
    }
}

}  // namespace qv
