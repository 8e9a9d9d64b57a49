#pragma once

#include <functional>
#include <initializer_list>
#include <vector>

#include "foundation/Descriptor.h"
#include "foundation/RunLoop.h"

namespace qv {

// Delivers signals as events of the loop. The handler only writes the
// signal's number to a pipe; `onSignal` runs later, on the loop's thread, in
// an ordinary pass or in a handler's own wait (the watch is urgent, see
// RunLoop::Await), where it may do anything, throw included. Each signal that arrives is
// delivered once, in order. One watch at a time per process, since the
// handler knows a single pipe: making a second while one lives throws
// std::logic_error. When the watch goes, its signals get back their default
// action.
class SignalWatch {
public:
    SignalWatch(RunLoop& loop, std::initializer_list<int> signals, std::function<void(int signal)> onSignal);
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    ~SignalWatch();

private:
    void TakeSignals();

    RunLoop& loop_;
    std::vector<int> signals_;
    std::function<void(int signal)> onSignal_;
    Descriptor readEnd_;
    Descriptor writeEnd_;
    RunLoop::Watch watch_;
};

}  // namespace qv
