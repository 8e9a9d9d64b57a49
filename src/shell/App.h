#pragma once

namespace qv {

// The whole life of the assistant process, from start to its exit status.
int RunApp();

}  // namespace qv
