#include "shell/RSSDownloadWindow.h"

#include "foundation/TextFunctions.h"
#include "shell/RSSFeedModule.h"

namespace qv {

namespace {

const WindowValues kWindowValues{
    .Title = "QVAssistant",
    .Width = 540,
    .Height = 188,
    .Visible = true,
    .MenuBarVisible = true,
    .CloseButton = true,
    .Resizeable = false,
    .MaximizeButton = false,
    .MinimizeButton = true,
};

const EditFieldValues kInputFieldValues{
    .Left = 20,
    .Top = 20,
    .Width = 500,
    .Height = 148,
    .Multiline = true,
    .ScrollbarVertical = true,
    .ScrollbarHorizontal = false,
    .ReadOnly = false,
    .AcceptTabs = false,
    .Text = "",
    .Enabled = true,
    .Visible = true,
};

}  // namespace

RSSDownloadWindow::RSSDownloadWindow(RunLoop& loop, Clock& clock, WindowView& view, String channelPath)
    : channel(loop, *this, std::move(channelPath),
              {.connected = [this] { writeInputField("Connected to Quorvane..."); },
               .processCommand = [this](const String& text) { processCommand(text); },
               .isFileCopyInProgress = [this] { return copyJob.isFileCopyInProgress; },
               .killCopy = [this] { copyJob.isKillCopyInProgress = true; }}),
      fetcher(loop, clock, *this, channel, channel.CommandDispatchTimer),
      copyJob(loop, clock, *this, channel, {&fetcher.RSSTCPSocket, &channel.QVIPCSocket}),
      MinimizeTimer(loop),
      view_(view) {
    Layout();
    CreateControls();
    Event_Open();
}

RSSDownloadWindow::~RSSDownloadWindow() = default;

void RSSDownloadWindow::Layout() {
    menuBar_ = &MenuBar1::Instance();
    view_.SetMenuBar(*menuBar_);
    view_.ApplyValues(kWindowValues);
}

void RSSDownloadWindow::CreateControls() {
    _CreateControls0();
}

// The features made their own controls (the channel's socket and dispatcher,
// the fetcher's socket and watchdog); the window's are made here, and the
// dispatcher ticks from here on, for the life of the window.
void RSSDownloadWindow::_CreateControls0() {
    InputField = view_.MakeEditField(kInputFieldValues);
    MinimizeTimer.SetPeriod(500);
    MinimizeTimer.SetMode(Timer::ModeOff);
    MinimizeTimer.onAction = [this] { MinimizeTimer_Action(); };
    channel.StartDispatcher();
}

void RSSDownloadWindow::Event_Open() {
    CR = Chr(13);
    LF = Chr(10);
    CRLF = CR + LF;
    RSSFeedModule::NewLine = CR;
    writeInputField("Connecting to Quorvane...");
    // The assistant is the listening side, the wording of the line notwithstanding.
    channel.QVIPCSocket.Listen();
    MinimizeTimer.SetMode(Timer::ModeSingle);
}

// Its one shot does nothing: the window is neither minimised nor hidden by it.
// The timer and its start are kept as they have always been.
void RSSDownloadWindow::MinimizeTimer_Action() {}

}  // namespace qv
