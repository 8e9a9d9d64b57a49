#pragma once

#include <functional>
#include <memory>

#include "foundation/RunLoop.h"
#include "shell/WindowView.h"

class QApplication;
class QMainWindow;
class QMenu;
class QPlainTextEdit;

namespace qv {

// The window on a screen, with Qt Widgets: its menu bar acts on the log and
// ends the application, and closing the window only hides it, since the
// assistant goes on serving Quorvane without it.
class QtView final : public WindowView {
public:
    // On the X display, once a connection to it has really been opened and
    // closed again; nil when that fails (no display, or a stale DISPLAY left
    // by a closed SSH forwarding), and then the assistant runs headless.
    static std::unique_ptr<QtView> TryOpen(RunLoop& loop);
    // On whatever platform Qt is given, using the application object if one
    // exists already.
    static std::unique_ptr<QtView> Open(RunLoop& loop);
    ~QtView() override;

    // Qt ends the process with exit(1), from inside its dispatcher, when the
    // connection to the display breaks, and offers no way to carry on without
    // it. While a view is open, such an exit runs this first and then ends the
    // process with status 0, as Quit(0) would have.
    std::function<void()> onDisplayLost;

    void SetMenuBar(const MenuItem& menuBar) override;
    void ApplyValues(const WindowValues& values) override;
    std::unique_ptr<EditField> MakeEditField(const EditFieldValues& values) override;
    bool Visible() const override;
    void Hide() override;
    void Show() override;

private:
    QtView(RunLoop& loop, std::unique_ptr<QApplication> application);
    static std::unique_ptr<QtView> OpenWith(RunLoop& loop, int& argc, char** argv);
    static void EndAsQuitWould();
    void AddMenu(const MenuItem& item, QMenu* into);

    RunLoop& loop_;
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<QMainWindow> window_;
    QPlainTextEdit* log_ = nullptr;
};

}  // namespace qv
