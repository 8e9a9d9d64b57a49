#pragma once

#include "foundation/String.h"

namespace qv::RSSFeedModule {

// The separator put ahead of each log entry; set when the window opens.
inline String NewLine;

}  // namespace qv::RSSFeedModule
