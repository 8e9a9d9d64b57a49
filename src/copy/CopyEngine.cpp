#include <cmath>
#include <limits>
#include <optional>

#include "copy/CopyJob.h"
#include "foundation/Exceptions.h"
#include "foundation/TextFunctions.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"

namespace qv {

namespace {

constexpr std::int32_t kChunkSize = 2097152;  // 2 MiB, and only ever smaller
constexpr double kPauseMicroseconds = 50000.0;
constexpr std::int32_t kTicksPerReport = 60;

// The progress value with the divider's zero kept as IEEE has it: a transfer
// whose total is below 400 bytes divides by 0, and that must not trap.
double Quotient(double amount, double divider) {
    if (divider != 0.0) return amount / divider;
    if (amount == 0.0) return std::numeric_limits<double>::quiet_NaN();
    return std::copysign(std::numeric_limits<double>::infinity(), amount);
}

}  // namespace

// One file's data, in chunks, written in place under its final name. The
// copy runs inside the command: only the pause after each progress report
// lets the sockets in, which is how an abort arrives. What it leaves alone is
// part of the design: no temporary name, no metadata, no check of the result,
// no resuming; and never, by any path, a write to or a deletion of the source.
void CopyJob::copyFile(const std::shared_ptr<FolderItem>& source,
                       const std::shared_ptr<FolderItem>& destination) {
    isFileCopyInProgress = true;
    copyFileData(source, destination);
    // Not a clean-up handler: an exception above leaves both flags set.
    isFileCopyInProgress = false;
    command_.isCommandInProgress = false;
}

// The copy itself, between the flags: each early return is one of the silent
// ends, and the flags fall in copyFile all the same.
void CopyJob::copyFileData(const std::shared_ptr<FolderItem>& source,
                           const std::shared_ptr<FolderItem>& destination) {
    if (!source || !source->TargetExists() || source->Directory() || !destination) return;
    // A source that cannot be read is refused before the destination is
    // touched: deleting what stands there first would lose it for nothing.
    const std::shared_ptr<BinaryStream> input = source->OpenAsBinaryFile(false);
    if (!input) return;
    if (destination->Exists() && destination->Reaches(*source)) return;
    if (destination->Exists()) destination->Delete();
    if (destination->Exists()) return;

    const auto length = static_cast<std::int64_t>(source->Length());
    std::int64_t chunkSize = kChunkSize;
    SizeDivider = CvtReal64ToSInt64(static_cast<double>(TotalSize) / 400.0);
    const std::shared_ptr<BinaryStream> output = destination->CreateBinaryFile("unknown");
    if (!output) return;

    // None at first, so that the first chunk of every file reports, at any
    // uptime; then one a second, compared across the wrap of the count.
    std::optional<std::int32_t> reportDue;
    while (!input->EndOfFile() && !isKillCopyInProgress) {
        const auto position = static_cast<std::int64_t>(input->Position());
        if (length < position + chunkSize) chunkSize = length - position;
        const BinaryStream::Extent chunk = input->Reserve(static_cast<std::int32_t>(chunkSize));
        // The size asked for counts, not what the read gave, and before the write.
        AmountTransferred += chunkSize;
        if (const std::int32_t now = Ticks(clock_); !reportDue || TicksBetween(*reportDue, now) > 0) {
            reportDue = TicksAfter(now, kTicksPerReport);
            const std::int64_t barPos = CvtReal64ToSInt64(
                Quotient(static_cast<double>(AmountTransferred), static_cast<double>(SizeDivider)));
            const std::int32_t elapsed = TicksBetween(StartTicks, Ticks(clock_)) / 60;
            const String message = getScaledSize(AmountTransferred) + " of " + getScaledSize(TotalSize) +
                                   ", " + secondsToString(elapsed) + " elapsed";
            channel_.RSSSendCommand(CopyProgressReport(SrcFileInfoMD5, barPos, message), 0);
            pauseForEvents();
        }
        // A chunk that was read is written, also when an abort came in
        // meanwhile. The first write that falls short (a full disk) ends the
        // copy, so that the destination stays an exact prefix of the source.
        if (!output->WriteExtent(*input, chunk)) break;
        // The yield point at the end of each chunk: a signal that ends the
        // process gets in here, and unwinds the copy where it stands.
        loop_.Await({}, Duration::zero());
    }
    input->Close();
    output->Close();

    // The companion file that some volumes make for a new file.
    const std::shared_ptr<FolderItem> sidecar =
        Deref(destination->Parent()).Child("._" + destination->Name());
    if (sidecar && sidecar->Exists() && !sidecar->Reaches(*source)) sidecar->Delete();

    std::string_view status = CopyStatus::Complete;
    if (isKillCopyInProgress) {  // read afresh: an abort during the last chunk counts too
        destination->Delete();
        status = CopyStatus::Abort;
    }
    channel_.RSSSendCommand(CopyEndReport(SrcFileInfoMD5, status), 0);
}

// The full 50 ms, always, waiting on the sockets rather than spinning, so that
// their events (a CopyFileAbort, the channel's loss) come in, and so do the
// signals that end the process.
void CopyJob::pauseForEvents() {
    std::vector<RunLoop::SourceId> sources;
    for (const SocketCore* socket : pauseSockets_) sources.push_back(socket->Source());
    const double end = Microseconds(clock_) + kPauseMicroseconds;
    for (double now = Microseconds(clock_); now < end; now = Microseconds(clock_)) {
        for (SocketCore* socket : pauseSockets_) socket->Poll();
        const auto left =
            std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil((end - now) / 1000.0)));
        loop_.Await(sources, left);  // and the signals that end the process
    }
}

}  // namespace qv
