#pragma once

#include <cstdint>
#include <memory>

#include "channel/CommandChannel.h"
#include "copy/CopyJob.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "foundation/String.h"
#include "foundation/Timer.h"
#include "protocol/CommandState.h"
#include "shell/EditField.h"
#include "shell/MenuBar1.h"
#include "shell/WindowView.h"
#include "web/Fetcher.h"

namespace qv {

// The one window of the assistant. It composes the features (the command
// channel, the fetcher and the copy job, each the owner of its own state) and
// keeps what is the window's: its log, its visibility, its menus, and the
// command in hand that every feature reads (CommandStr, isCommandInProgress).
// processCommand, which carries a command out, is where the features meet.
class RSSDownloadWindow : public CommandState {
public:
    // Builds the window and opens it: Layout, CreateControls, Event_Open.
    RSSDownloadWindow(RunLoop& loop, Clock& clock, WindowView& view, String channelPath);
    RSSDownloadWindow(const RSSDownloadWindow&) = delete;
    RSSDownloadWindow& operator=(const RSSDownloadWindow&) = delete;
    ~RSSDownloadWindow();

    String CR;
    String LF;
    String CRLF;

    // The features, in the order of their controls' creation.
    CommandChannel channel;
    Fetcher fetcher;
    CopyJob copyJob;
    // The window's own controls.
    std::unique_ptr<EditField> InputField;
    Timer MinimizeTimer;

    bool Visible() const { return view_.Visible(); }
    void Hide() { view_.Hide(); }
    void Show() { view_.Show(); }

    // Start-up.
    void Layout();
    void CreateControls();
    void _CreateControls0();
    void Event_Open();
    void MinimizeTimer_Action();

    // The activity log.
    void writeInputField(const String& text);

    // Carries out a command taken off the queue, its word in CommandStr.
    void processCommand(const String& text);

    // The items of the window's menu bar by name.
    MenuItem& EditMenu() { return MenuItemNamed<MenuItem>("EditMenu"); }
    MenuItem& EditSelectAll() { return MenuItemNamed<MenuItem>("EditSelectAll"); }
    MenuItem& UntitledMenu0() { return MenuItemNamed<MenuItem>("UntitledMenu0"); }
    MenuItem& EditClear() { return MenuItemNamed<MenuItem>("EditClear"); }
    MenuItem& EditPaste() { return MenuItemNamed<MenuItem>("EditPaste"); }
    MenuItem& EditCopy() { return MenuItemNamed<MenuItem>("EditCopy"); }
    MenuItem& EditCut() { return MenuItemNamed<MenuItem>("EditCut"); }
    MenuItem& UntitledMenu1() { return MenuItemNamed<MenuItem>("UntitledMenu1"); }
    MenuItem& EditUndo() { return MenuItemNamed<MenuItem>("EditUndo"); }
    MenuItem& FileMenu() { return MenuItemNamed<MenuItem>("FileMenu"); }
    QuitMenuItem& FileQuit() { return MenuItemNamed<QuitMenuItem>("FileQuit"); }

private:
    template <class T>
    T& MenuItemNamed(std::string_view name) const {
        return Deref(dynamic_cast<T*>(Deref(menuBar_).Child(name)));
    }

    WindowView& view_;
    const MenuItem* menuBar_ = nullptr;
};

}  // namespace qv
