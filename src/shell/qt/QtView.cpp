#include "shell/qt/QtView.h"

#include <unistd.h>
#if !defined(__APPLE__)
#include <xcb/xcb.h>
#endif

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <cstdlib>
#include <string>

#include "shell/qt/QtEditField.h"
#include "shell/qt/QtWaitStep.h"

namespace qv {

namespace {

// Closing the window hides it: the channel, and with it the assistant, lives on.
class AssistantWindow final : public QMainWindow {
protected:
    void closeEvent(QCloseEvent* event) override {
        event->ignore();
        hide();
    }
};

QString ToQString(const String& text) {
    return QString::fromUtf8(text.Bytes().data(), static_cast<qsizetype>(text.Size()));
}

// "Cmd+Q" names the command key of a Mac; Qt calls that key Ctrl everywhere.
QKeySequence Shortcut(const String& text) {
    QString shortcut = ToQString(text);
    shortcut.replace("Cmd+", "Ctrl+");
    return QKeySequence(shortcut);
}

// The view that is on a screen now, if any.
QtView* openView = nullptr;

}  // namespace

std::unique_ptr<QtView> QtView::TryOpen(RunLoop& loop) {
#if defined(__APPLE__)
    // The window server is that of the login session the assistant runs in,
    // so its screen is there; Qt takes its own platform.
    return Open(loop);
#else
    // Qt aborts the process when it cannot open a display, so the window mode
    // is decided here: the X display is opened and closed again first.
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool opened = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    if (!opened) return nullptr;
    static char name[] = "qvassistant";
    static char option[] = "-platform";
    static char platform[] = "xcb";  // the display just opened, whatever else is announced
    static char* argv[] = {name, option, platform, nullptr};
    static int argc = 3;
    return OpenWith(loop, argc, argv);
#endif
}

std::unique_ptr<QtView> QtView::Open(RunLoop& loop) {
    static char name[] = "qvassistant";
    static char* argv[] = {name, nullptr};
    static int argc = 1;
    return OpenWith(loop, argc, argv);
}

std::unique_ptr<QtView> QtView::OpenWith(RunLoop& loop, int& argc, char** argv) {
    auto application = QApplication::instance() ? nullptr : std::make_unique<QApplication>(argc, argv);
    static const bool registered = std::atexit(EndAsQuitWould) == 0;
    (void)registered;
    return std::unique_ptr<QtView>(new QtView(loop, std::move(application)));
}

void QtView::EndAsQuitWould() {
    if (!openView) return;  // an ordinary end: the view has gone before
    if (openView->onDisplayLost) openView->onDisplayLost();
    _exit(0);
}

QtView::QtView(RunLoop& loop, std::unique_ptr<QApplication> application)
    : loop_(loop), application_(std::move(application)), window_(std::make_unique<AssistantWindow>()) {
    window_->setCentralWidget(new QWidget());
    loop_.SetWaitStep(std::make_unique<QtWaitStep>());
    openView = this;
}

QtView::~QtView() {
    openView = nullptr;
    window_.reset();
    application_.reset();
}

void QtView::SetMenuBar(const MenuItem& menuBar) {
    for (const auto& top : menuBar.Children())
        AddMenu(*top, window_->menuBar()->addMenu(ToQString(top->Text)));
}

void QtView::AddMenu(const MenuItem& menu, QMenu* into) {
    for (const auto& item : menu.Children()) {
        if (item->IsSeparator()) {
            into->addSeparator();
            continue;
        }
        QAction* action = into->addAction(ToQString(item->Text));
        action->setShortcut(Shortcut(item->KeyboardShortcut));
        if (dynamic_cast<const QuitMenuItem*>(item.get())) {
            QObject::connect(action, &QAction::triggered, [this] { loop_.Stop(0); });
            continue;
        }
        // The usual text commands, on the one text control there is.
        const std::string name(item->Name.Bytes());
        QObject::connect(action, &QAction::triggered, [this, name] {
            if (!log_) return;
            if (name == "EditUndo") log_->undo();
            if (name == "EditCut") log_->cut();
            if (name == "EditCopy") log_->copy();
            if (name == "EditPaste") log_->paste();
            if (name == "EditClear") log_->textCursor().removeSelectedText();
            if (name == "EditSelectAll") log_->selectAll();
        });
    }
}

void QtView::ApplyValues(const WindowValues& values) {
    window_->setWindowTitle(ToQString(values.Title));
    window_->centralWidget()->setFixedSize(values.Width, values.Height);
    Qt::WindowFlags flags = Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint;
    if (values.MinimizeButton) flags |= Qt::WindowMinimizeButtonHint;
    if (values.MaximizeButton) flags |= Qt::WindowMaximizeButtonHint;
    if (values.CloseButton) flags |= Qt::WindowCloseButtonHint;
    window_->setWindowFlags(flags);
    window_->menuBar()->setVisible(values.MenuBarVisible);
    if (!values.Resizeable) window_->layout()->setSizeConstraint(QLayout::SetFixedSize);
    window_->setVisible(values.Visible);
}

std::unique_ptr<EditField> QtView::MakeEditField(const EditFieldValues& values) {
    log_ = new QPlainTextEdit(window_->centralWidget());
    log_->setGeometry(values.Left, values.Top, values.Width, values.Height);
    log_->setVerticalScrollBarPolicy(values.ScrollbarVertical ? Qt::ScrollBarAlwaysOn
                                                              : Qt::ScrollBarAsNeeded);
    log_->setHorizontalScrollBarPolicy(values.ScrollbarHorizontal ? Qt::ScrollBarAsNeeded
                                                                  : Qt::ScrollBarAlwaysOff);
    log_->setLineWrapMode(values.Multiline ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    log_->setReadOnly(values.ReadOnly);
    log_->setTabChangesFocus(!values.AcceptTabs);
    log_->setPlainText(ToQString(values.Text));
    log_->setVisible(values.Visible);
    log_->setEnabled(values.Enabled);
    return std::make_unique<QtEditField>(*log_);
}

bool QtView::Visible() const {
    return window_->isVisible();
}
void QtView::Hide() {
    window_->hide();
}
void QtView::Show() {
    window_->show();
}

}  // namespace qv
