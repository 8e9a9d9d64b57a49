#pragma once

namespace qv::ctl {

// qvctl's exit statuses beside those of a session's outcome (0, 2, 3).
inline constexpr int kUsageStatus = 1;
// get, headers, news: the timeout or the error report came.
inline constexpr int kFetchFailedStatus = 4;
// The body cannot be written.
inline constexpr int kOutputFailedStatus = 5;
// The copy's end report says "Status: Abort".
inline constexpr int kCopyAbortedStatus = 6;

}  // namespace qv::ctl
