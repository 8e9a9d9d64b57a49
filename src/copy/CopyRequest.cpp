#include "copy/CopyJob.h"
#include "foundation/Base64.h"
#include "foundation/TextFunctions.h"
#include "protocol/CommandText.h"
#include "protocol/Vocabulary.h"

namespace qv {

CopyJob::CopyJob(RunLoop& loop, Clock& clock, CommandState& command, ReportSink& channel,
                 std::vector<SocketCore*> pauseSockets)
    : loop_(loop),
      clock_(clock),
      command_(command),
      channel_(channel),
      pauseSockets_(std::move(pauseSockets)) {}

// Every field is read and stored before anything is tested, so a request that
// then fails has already replaced the tag, the start and the total. A request
// that cannot be resolved ends without a word.
void CopyJob::startCopy(const String& text) {
    isKillCopyInProgress = false;
    bool notFound = false;
    const String sourceInfo = Base64Decode(getCRFieldFromString(FieldName::SrcFileInfo, text, notFound));
    SrcFileInfoMD5 = getCRFieldFromString(FieldName::SrcFileInfoMD5, text, notFound);
    const String destinationInfo = Base64Decode(getCRFieldFromString(FieldName::DstFileInfo, text, notFound));
    const String destinationPath = getCRFieldFromString(FieldName::DstFilePath, text, notFound);
    StartTicks = CvtReal64ToSInt32(Val(getCRFieldFromString(FieldName::StartTicks, text, notFound)));
    TotalSize = CvtReal64ToSInt64(Val(getCRFieldFromString(FieldName::TotalSize, text, notFound)));
    if (SameText(getCRFieldFromString(FieldName::isResetAmountTransferred, text, notFound), "true"))
        AmountTransferred = 0;

    const std::shared_ptr<FolderItem> source = sourceInfo.IsEmpty() ? nullptr : GetFolderItem(sourceInfo, 0);
    std::shared_ptr<FolderItem> current =
        destinationInfo.IsEmpty() ? nullptr : GetFolderItem(destinationInfo, 0);
    // A FIFO or a device is no file to copy, nor is a dangling link: refused
    // as a missing source is.
    if (!source || !source->TargetExists() || source->IsSpecialFile() || !current) {
        command_.isCommandInProgress = false;
        return;
    }

    // Down the path, making missing folders; the last part is the file. A
    // folder that cannot be made ends the walk, and what stands there then goes
    // to the copy as its destination, which ends silently on it.
    const std::int32_t count = CountFields(destinationPath, "/");
    for (std::int32_t i = 1; i <= count; ++i) {
        current = current->Child(NthField(destinationPath, "/", i));
        if (i < count && current && !current->Exists()) current->CreateAsFolder();
        if (!current || !current->Exists()) break;
    }
    copyFile(source, current);
}

}  // namespace qv
