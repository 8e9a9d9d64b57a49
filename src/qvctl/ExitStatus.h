#pragma once

namespace qv::ctl {

// qvctl's exit status. A session's is that of its first failure.
enum class ExitStatus {
    Ok = 0,
    Usage = 1,
    NoReply = 2,
    Unreachable = 3,
    FetchFailed = 4,
    OutputFailed = 5,
    CopyAborted = 6,
};

}  // namespace qv::ctl
