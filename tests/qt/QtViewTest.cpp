#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <string>
#include <vector>

#include "shell/qt/QtView.h"
#include "shell/RSSDownloadWindow.h"
#include "support/Support.h"

namespace qv {
namespace {

// The window on Qt's offscreen platform, in process.
class QtViewTest : public ::testing::Test {
protected:
    QMainWindow& Main() const {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* main = qobject_cast<QMainWindow*>(widget)) return *main;
        }
        throw std::runtime_error("no main window");
    }
    QPlainTextEdit& Log() const { return *Main().findChild<QPlainTextEdit*>(); }
    QAction& Action(const QString& text) const {
        for (QAction* menu : Main().menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text() == text) return *action;
            }
        }
        throw std::runtime_error("no such menu item");
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::unique_ptr<QtView> view = QtView::Open(loop);
    RSSDownloadWindow window{loop, clock, *view, String(dir.File("qvipc"))};
};

TEST_F(QtViewTest, TheWindowItsLogAndItsMenus) {
    EXPECT_EQ(Main().windowTitle(), "QVAssistant");
    EXPECT_EQ(Main().centralWidget()->size(), QSize(540, 188));
    EXPECT_EQ(Log().geometry(), QRect(20, 20, 500, 148));
    EXPECT_EQ(Log().verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    EXPECT_EQ(Log().horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_FALSE(Log().isReadOnly());
    EXPECT_FALSE(Main().windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_TRUE(Main().windowFlags() & Qt::WindowMinimizeButtonHint);
    std::vector<std::string> items;
    for (QAction* menu : Main().menuBar()->actions()) {
        items.push_back(menu->text().toStdString());
        for (QAction* action : menu->menu()->actions()) {
            items.push_back(action->isSeparator() ? "-" : (action->text() + " " + action->shortcut().toString()).toStdString());
        }
    }
    EXPECT_EQ(items, (std::vector<std::string>{"&File", "&Quit Ctrl+Q", "&Edit", "&Undo Ctrl+Z", "-", "Cu&t Ctrl+X",
                                               "&Copy Ctrl+C", "&Paste Ctrl+V", "&Delete ", "-", "Select &All Ctrl+A"}));
    Action("Select &All").trigger();
    Action("&Copy").trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "\nConnecting to Quorvane...");

    Main().close();  // hides, and nothing else
    EXPECT_FALSE(window.Visible());
    window.Show();
    EXPECT_TRUE(Main().isVisible());
    Action("&Quit").trigger();
    EXPECT_EQ(loop.ExitStatus(), 0);
    EXPECT_TRUE(loop.Stopping());
}

}  // namespace
}  // namespace qv
