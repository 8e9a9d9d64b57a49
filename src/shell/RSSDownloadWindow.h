#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/CommandQueueItemClass.h"
#include "foundation/Clock.h"
#include "foundation/Exceptions.h"
#include "foundation/IPCSocket.h"
#include "foundation/RunLoop.h"
#include "foundation/String.h"
#include "foundation/Timer.h"
#include "http/HTTPSocket.h"
#include "protocol/Frame.h"
#include "shell/Control.h"
#include "shell/EditField.h"
#include "shell/MenuBar1.h"
#include "shell/WindowView.h"

namespace qv {

// The one window of the assistant: the holder of all state and of every
// method of its logic. The methods are defined in the folder of their
// subsystem (shell, channel, ...); this header is shared by all of them.
//
// Controls are reached by name at each use, as the logic has always done, and
// a missing one raises NilObjectException there.
class RSSDownloadWindow {
public:
    // The controls' own classes add only what ties a control to its window.
    class QVIPCSocket final : public IPCSocket, public Control {
    public:
        using IPCSocket::IPCSocket;
    };
    class RSSTCPSocket final : public HTTPSocket, public Control {
    public:
        using HTTPSocket::HTTPSocket;
    };
    class MinimizeTimer final : public Timer, public Control {
    public:
        using Timer::Timer;
    };
    class SocketTimeoutTimer final : public Timer, public Control {
    public:
        using Timer::Timer;
    };
    class CommandDispatchTimer final : public Timer, public Control {
    public:
        using Timer::Timer;
    };

    // Builds the window and opens it: Layout, CreateControls, Event_Open.
    RSSDownloadWindow(RunLoop& loop, Clock& clock, WindowView& view, String channelPath);
    RSSDownloadWindow(const RSSDownloadWindow&) = delete;
    RSSDownloadWindow& operator=(const RSSDownloadWindow&) = delete;
    virtual ~RSSDownloadWindow();

    // Properties, in their order.
    String CR;
    String CommandStr;
    String LF;
    String CRLF;
    String InputURL;
    bool isHeadersOnlyRequest = false;  // declared and never used
    String SrcFileInfoMD5;
    std::int64_t AmountTransferred = 0;
    std::int64_t SizeDivider = 0;
    std::int32_t StartTicks = 0;
    bool isKillCopyInProgress = false;
    FrameBuffer QVIPCBuffer;
    bool isFileCopyInProgress = false;
    std::int64_t TotalSize = 0;
    std::vector<std::shared_ptr<CommandQueueItemClass>> CommandQueueItemArray;
    bool isCommandInProgress = false;

    // The window itself.
    bool Visible() const { return view_.Visible(); }
    void Hide() { view_.Hide(); }
    void Show() { view_.Show(); }

    // Looks a control up by name with a checked cast; nil when there is none.
    template <class T>
    T* FindControl(std::string_view name) const {
        return dynamic_cast<T*>(RuntimeWindowControlByName(name));
    }
    // The same, where a nil raises NilObjectException.
    template <class T>
    T& ControlNamed(std::string_view name) const {
        return Deref(FindControl<T>(name));
    }
    Control* RuntimeWindowControlByName(std::string_view name) const;

    // Start-up (shell).
    virtual void Layout();
    virtual void CreateControls();
    virtual void _CreateControls0();
    virtual void Event_Open();
    virtual void MinimizeTimer_Action();

    // Activity log (shell).
    virtual void writeInputField(const String& text);

    // Channel endpoint and wire protocol (channel).
    virtual void QVIPCSocket_Connected();
    virtual void QVIPCSocket_DataAvailable();
    virtual void QVIPCSocket_Error();
    virtual void RSSSendCommand(const String& text, std::int32_t errorCode);
    virtual String getCRFieldFromString(const String& fieldName, const String& text, bool& notFound);

    // Command queue and interpreter (channel).
    virtual void CommandDispatchTimer_Action();
    virtual void doNextCommand();
    virtual void processCommand(const String& text);

    // Web retrieval (web).
    virtual void RSSTCPSocket_HeadersReceived(const HTTPSocket::Headers& headers, std::int32_t httpStatus);
    virtual void RSSTCPSocket_PageReceived(const String& url, std::int32_t httpStatus,
                                           const HTTPSocket::Headers& headers, const String& content);
    virtual void RSSTCPSocket_Error(std::int32_t code);
    virtual void SocketTimeoutTimer_Action();
    virtual void sendPageToQuorvane(const HTTPSocket::Headers& headers, const String& content,
                                    std::int32_t httpStatus);

    // File copy (copy).
    virtual String stringFromBool(bool value);
    virtual void copyFile(const std::shared_ptr<FolderItem>& source,
                          const std::shared_ptr<FolderItem>& destination);
    virtual String getScaledSize(std::int64_t size);
    virtual String secondsToString(std::int32_t seconds);

    // Menu bar (shell): the items of the window's menu bar by name.
    const MenuItem* MenuBar() const { return menuBar_; }
    virtual MenuItem& EditMenu();
    virtual MenuItem& EditSelectAll();
    virtual MenuItem& UntitledMenu0();
    virtual MenuItem& EditClear();
    virtual MenuItem& EditPaste();
    virtual MenuItem& EditCopy();
    virtual MenuItem& EditCut();
    virtual MenuItem& UntitledMenu1();
    virtual MenuItem& EditUndo();
    virtual MenuItem& FileMenu();
    virtual QuitMenuItem& FileQuit();

    // Ends the process with `code`; never returns to its caller.
    [[noreturn]] void Quit(std::int32_t code);

private:
    // The fetch branches of processCommand: GetHeadersURL, GetPageURL, GetNews.
    void startFetch(const String& text);
    // "Response: " and the command, with the HTTPURL line unless it is GetNews.
    String fetchReportOpening() const;
    // True while the channel to Quorvane stands.
    bool isChannelConnected() const;
    // After a fetch has ended outside the dispatcher's tick: a tick that this
    // handler made late is skipped, so the next command does not start right
    // on the end of the fetch.
    void restDispatcher();
    // The CopyFile branch of processCommand.
    void startCopy(const String& text);
    // The copy's data and reports, from copyFile, which sets and clears its flags.
    void copyFileData(const std::shared_ptr<FolderItem>& source,
                      const std::shared_ptr<FolderItem>& destination);
    // The copy's pause after a report: both sockets' events get in.
    void pauseForEvents();

    template <class T>
    T& MenuItemNamed(std::string_view name) const {
        return Deref(dynamic_cast<T*>(Deref(menuBar_).Child(name)));
    }

    template <class T>
    T& AddControl(const char* name, std::unique_ptr<T> control);

    RunLoop& loop_;
    Clock& clock_;
    WindowView& view_;
    const String channelPath_;
    const MenuItem* menuBar_ = nullptr;
    std::vector<std::pair<String, std::unique_ptr<Control>>> controls_;
};

}  // namespace qv
