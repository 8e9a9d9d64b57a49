#include "channel/CommandChannel.h"

#include "foundation/CatchAll.h"
#include "foundation/TextFunctions.h"
#include "protocol/CommandText.h"
#include "protocol/Reports.h"
#include "protocol/Vocabulary.h"

namespace qv {

CommandChannel::CommandChannel(RunLoop& loop, CommandState& command, String path, Handlers handlers)
    : QVIPCSocket(loop),
      CommandDispatchTimer(loop),
      loop_(loop),
      command_(command),
      handlers_(std::move(handlers)) {
    QVIPCSocket.SetPath(path);
    QVIPCSocket.onConnected = [this] { QVIPCSocket_Connected(); };
    QVIPCSocket.onDataAvailable = [this] { QVIPCSocket_DataAvailable(); };
    QVIPCSocket.onError = [this] { QVIPCSocket_Error(); };
    CommandDispatchTimer.SetPeriod(2000);
    CommandDispatchTimer.onAction = [this] { CommandDispatchTimer_Action(); };
}

void CommandChannel::StartDispatcher() {
    CommandDispatchTimer.SetMode(Timer::ModeMultiple);
}

void CommandChannel::QVIPCSocket_Connected() {
    if (handlers_.connected) handlers_.connected();
}

void CommandChannel::QVIPCSocket_DataAvailable() {
    WithCatchAll("QVAssistant.QVIPCSocket.DataAvailable", [this] { TakeIn(QVIPCSocket.ReadAll().Bytes()); });
}

void CommandChannel::TakeIn(std::string_view bytes) {
    QVIPCBuffer.Append(bytes);
    while (const std::optional<String> frame = QVIPCBuffer.TakeFrame()) {
        const String payload = DecodePayload(frame->Bytes());
        if (payload.IsEmpty()) continue;  // a bad frame is dropped without a word
        bool notFound = false;
        const String command = getCRFieldFromString(FieldName::Command, payload, notFound);
        if (command.IsEmpty()) continue;
        auto item = std::make_shared<CommandQueueItemClass>(CommandQueueItemClass{command, payload});
        if (SameText(command, CommandWord::CopyFileAbort) && handlers_.isFileCopyInProgress()) {
            handlers_.killCopy();  // overtakes the queue: the copy sees it at its next poll
        } else {
            CommandQueueItemArray.push_back(std::move(item));
        }
    }
}

// Whatever the error, including the peer's departure and a failed Listen: the
// channel is the assistant's reason to live, so it ends, without a word.
void CommandChannel::QVIPCSocket_Error() {
    QVIPCSocket.Close();
    loop_.Quit(0);
}

void CommandChannel::RSSSendCommand(const String& text, std::int32_t errorCode) {
    QVIPCSocket.Write(MakeFrame(MessageText(text, errorCode)));
}

void CommandChannel::CommandDispatchTimer_Action() {
    if (!command_.isCommandInProgress) doNextCommand();
}

void CommandChannel::doNextCommand() {
    String commandFull;
    for (std::size_t i = 0; i < CommandQueueItemArray.size(); ++i) {
        const CommandQueueItemClass& item = Deref(CommandQueueItemArray[i]);
        // Three arms that do the same, on purpose: every kind of command is
        // taken alike from the head of the queue, with no priority and no skip.
        if (SameText(item.CommandType, CommandWord::CopyFile)) {
            command_.CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        } else if (SameText(item.CommandType, CommandWord::GetNews)) {
            command_.CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        } else {
            command_.CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        }
    }
    if (Len(commandFull) > 0) handlers_.processCommand(commandFull);
}

}  // namespace qv
