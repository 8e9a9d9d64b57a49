#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

void RSSDownloadWindow::CommandDispatchTimer_Action() {
    if (!isCommandInProgress) doNextCommand();
}

void RSSDownloadWindow::doNextCommand() {
    String commandFull;
    for (std::size_t i = 0; i < CommandQueueItemArray.size(); ++i) {
        const CommandQueueItemClass& item = Deref(CommandQueueItemArray[i]);
        // Three arms that do the same, on purpose: every kind of command is
        // taken alike from the head of the queue, with no priority and no skip.
        if (SameText(item.CommandType, "CopyFile")) {
            CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        } else if (SameText(item.CommandType, "GetNews")) {
            CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        } else {
            CommandStr = item.CommandType;
            commandFull = item.CommandFull;
            CommandQueueItemArray.erase(CommandQueueItemArray.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        }
    }
    if (Len(commandFull) > 0) processCommand(commandFull);
}

}  // namespace qv
