#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/Clock.h"
#include "foundation/FolderItem.h"
#include "foundation/RunLoop.h"
#include "foundation/SocketCore.h"
#include "foundation/String.h"
#include "protocol/CommandState.h"
#include "protocol/ReportSink.h"

namespace qv {

// CopyFile: one file copied in 2 MiB chunks, written in place under its final
// name, with a report about once a second and the pause after it in which the
// sockets' events come in (an abort among them); then the end report. The copy
// runs inside the command, on the one thread; several commands can make one
// transfer with one running byte count.
class CopyJob {
public:
    // `pauseSockets`: polled, in this order, in the pause after each report.
    CopyJob(RunLoop& loop, Clock& clock, CommandState& command, ReportSink& channel,
            std::vector<SocketCore*> pauseSockets);

    String SrcFileInfoMD5;
    std::int64_t AmountTransferred = 0;
    std::int64_t SizeDivider = 0;
    std::int32_t StartTicks = 0;
    bool isKillCopyInProgress = false;
    bool isFileCopyInProgress = false;
    std::int64_t TotalSize = 0;

    // The CopyFile branch of processCommand.
    void startCopy(const String& text);
    void copyFile(const std::shared_ptr<FolderItem>& source, const std::shared_ptr<FolderItem>& destination);

    // The words of the progress text.
    static String getScaledSize(std::int64_t size);
    static String secondsToString(std::int32_t seconds);
    static String stringFromBool(bool value);

private:
    // The copy's data and reports, from copyFile, which sets and clears its flags.
    void copyFileData(const std::shared_ptr<FolderItem>& source,
                      const std::shared_ptr<FolderItem>& destination);
    // The copy's pause after a report: the sockets' events get in.
    void pauseForEvents();

    RunLoop& loop_;
    Clock& clock_;
    CommandState& command_;
    ReportSink& channel_;
    const std::vector<SocketCore*> pauseSockets_;
};

}  // namespace qv
