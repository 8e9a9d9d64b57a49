#include "shell/RSSDownloadWindow.h"

#include "foundation/TextFunctions.h"
#include "shell/RSSFeedModule.h"

namespace qv {

namespace {

const WindowValues kWindowValues{
    .Placement = 0,
    .Title = "QVAssistant",
    .Width = 540,
    .Height = 188,
    .MinWidth = 64,
    .MinHeight = 64,
    .MaxWidth = 32000,
    .MaxHeight = 32000,
    .Frame = 0,
    .Composite = false,
    .HasBackColor = false,
    .BackColor = 0xFFFFFF,
    .Visible = true,
    .FullScreen = false,
    .MenuBarVisible = true,
    .CloseButton = true,
    .Resizeable = false,
    .LiveResize = true,
    .MaximizeButton = false,
    .MinimizeButton = true,
    .MacProcID = 0,
};

const EditFieldValues kInputFieldValues{
    .Left = 20,
    .Top = 20,
    .Width = 500,
    .Height = 148,
    .LockLeft = false,
    .LockTop = false,
    .LockRight = false,
    .LockBottom = false,
    .Multiline = true,
    .ScrollbarVertical = true,
    .ScrollbarHorizontal = false,
    .Styled = false,
    .Password = false,
    .ReadOnly = false,
    .LimitText = 0,
    .AcceptTabs = false,
    .Alignment = 0,
    .Format = "",
    .Mask = "",
    .Text = "",
    .Border = true,
    .UseFocusRing = true,
    .TextColor = 0x000000,
    .BackColor = 0xFFFFFF,
    .TextFont = "System",
    .TextSize = 0,
    .Bold = false,
    .Italic = false,
    .Underline = false,
    .Enabled = true,
    .Visible = true,
    .AutoDeactivate = true,
    .TabIndex = 1,
    .TabStop = true,
    .TabPanelIndex = 0,
    .HelpTag = "",
    .DataSource = "",
    .DataField = "",
    .InitialParent = "",
};

}  // namespace

RSSDownloadWindow::RSSDownloadWindow(RunLoop& loop, Clock& clock, WindowView& view, String channelPath)
    : loop_(loop), clock_(clock), view_(view), channelPath_(std::move(channelPath)) {
    Layout();
    CreateControls();
    Event_Open();
}

RSSDownloadWindow::~RSSDownloadWindow() = default;

Control* RSSDownloadWindow::RuntimeWindowControlByName(std::string_view name) const {
    for (const auto& [controlName, control] : controls_) {
        if (controlName.Bytes() == name) return control.get();
    }
    return nullptr;
}

template <class T>
T& RSSDownloadWindow::AddControl(const char* name, std::unique_ptr<T> control) {
    control->_SetWindow(this);
    T& added = *control;
    controls_.emplace_back(name, std::move(control));
    return added;
}

void RSSDownloadWindow::Layout() {
    menuBar_ = &MenuBar1::Instance();
    view_.SetMenuBar(*menuBar_);
    view_.ApplyValues(kWindowValues);
}

MenuItem& RSSDownloadWindow::EditMenu() {
    return MenuItemNamed<MenuItem>("EditMenu");
}
MenuItem& RSSDownloadWindow::EditSelectAll() {
    return MenuItemNamed<MenuItem>("EditSelectAll");
}
MenuItem& RSSDownloadWindow::UntitledMenu0() {
    return MenuItemNamed<MenuItem>("UntitledMenu0");
}
MenuItem& RSSDownloadWindow::EditClear() {
    return MenuItemNamed<MenuItem>("EditClear");
}
MenuItem& RSSDownloadWindow::EditPaste() {
    return MenuItemNamed<MenuItem>("EditPaste");
}
MenuItem& RSSDownloadWindow::EditCopy() {
    return MenuItemNamed<MenuItem>("EditCopy");
}
MenuItem& RSSDownloadWindow::EditCut() {
    return MenuItemNamed<MenuItem>("EditCut");
}
MenuItem& RSSDownloadWindow::UntitledMenu1() {
    return MenuItemNamed<MenuItem>("UntitledMenu1");
}
MenuItem& RSSDownloadWindow::EditUndo() {
    return MenuItemNamed<MenuItem>("EditUndo");
}
MenuItem& RSSDownloadWindow::FileMenu() {
    return MenuItemNamed<MenuItem>("FileMenu");
}
QuitMenuItem& RSSDownloadWindow::FileQuit() {
    return MenuItemNamed<QuitMenuItem>("FileQuit");
}

void RSSDownloadWindow::CreateControls() {
    _CreateControls0();
}

void RSSDownloadWindow::_CreateControls0() {
    AddControl("QVIPCSocket", std::make_unique<QVIPCSocket>(loop_));
    {
        auto& socket = ControlNamed<QVIPCSocket>("QVIPCSocket");
        socket.SetPath(channelPath_);
        socket.onConnected = [this] { QVIPCSocket_Connected(); };
        socket.onDataAvailable = [this] { QVIPCSocket_DataAvailable(); };
        socket.onError = [this] { QVIPCSocket_Error(); };
    }

    AddControl("InputField", view_.MakeEditField(kInputFieldValues));

    AddControl("RSSTCPSocket", std::make_unique<RSSTCPSocket>(loop_, clock_));
    {
        auto& socket = ControlNamed<RSSTCPSocket>("RSSTCPSocket");
        socket.SetAddress("");
        socket.SetPort(0);
        socket.Yield = false;
        socket.events.HeadersReceived = [this](const HTTPSocket::Headers& headers, std::int32_t httpStatus) {
            RSSTCPSocket_HeadersReceived(headers, httpStatus);
        };
        socket.events.PageReceived = [this](const String& url, std::int32_t httpStatus,
                                            const HTTPSocket::Headers& headers, const String& content) {
            RSSTCPSocket_PageReceived(url, httpStatus, headers, content);
        };
        socket.events.Error = [this](std::int32_t code) { RSSTCPSocket_Error(code); };
    }

    AddControl("MinimizeTimer", std::make_unique<MinimizeTimer>(loop_));
    {
        auto& timer = ControlNamed<MinimizeTimer>("MinimizeTimer");
        timer.SetPeriod(500);
        timer.SetMode(Timer::ModeOff);
        timer.onAction = [this] { MinimizeTimer_Action(); };
    }

    AddControl("SocketTimeoutTimer", std::make_unique<SocketTimeoutTimer>(loop_));
    {
        auto& timer = ControlNamed<SocketTimeoutTimer>("SocketTimeoutTimer");
        timer.SetPeriod(60000);
        timer.SetMode(Timer::ModeOff);
        timer.onAction = [this] { SocketTimeoutTimer_Action(); };
    }

    AddControl("CommandDispatchTimer", std::make_unique<CommandDispatchTimer>(loop_));
    {
        auto& timer = ControlNamed<CommandDispatchTimer>("CommandDispatchTimer");
        timer.SetPeriod(2000);
        timer.SetMode(Timer::ModeMultiple);  // ticks from here on, for the life of the window
        timer.onAction = [this] { CommandDispatchTimer_Action(); };
    }
}

void RSSDownloadWindow::Event_Open() {
    CR = Chr(13);
    LF = Chr(10);
    CRLF = CR + LF;
    RSSFeedModule::NewLine = CR;
    writeInputField("Connecting to Quorvane...");
    // The assistant is the listening side, the wording of the line notwithstanding.
    ControlNamed<QVIPCSocket>("QVIPCSocket").Listen();
    ControlNamed<MinimizeTimer>("MinimizeTimer").SetMode(Timer::ModeSingle);
}

// Its one shot does nothing: the window is neither minimised nor hidden by it.
// The timer and its start are kept as they have always been.
void RSSDownloadWindow::MinimizeTimer_Action() {}

void RSSDownloadWindow::Quit(std::int32_t code) {
    loop_.Stop(code);
    throw EndException();
}

}  // namespace qv
