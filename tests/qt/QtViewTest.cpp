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

#include "shell/RSSDownloadWindow.h"
#include "shell/qt/QtView.h"
#include "support/ChannelPeer.h"
#include "support/LoopDriver.h"
#include "support/TestPeers.h"

namespace qv {
namespace {

using Window = RSSDownloadWindow;

class QtViewTest : public ::testing::Test {
protected:
    QtViewTest() : view(QtView::Open(loop)) {
        window = std::make_unique<Window>(loop, clock, *view, String(dir.File("qvipc")));
    }

    QMainWindow& MainWindow() const {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (auto* main = qobject_cast<QMainWindow*>(widget)) return *main;
        }
        throw std::runtime_error("no main window");
    }
    QPlainTextEdit& Log() const { return *MainWindow().findChild<QPlainTextEdit*>(); }
    QAction* Action(const QString& text) const {
        for (QAction* menu : MainWindow().menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text() == text) return action;
            }
        }
        return nullptr;
    }

    ManualClock clock;
    RunLoop loop{clock};
    test::TempDir dir;
    std::unique_ptr<QtView> view;
    std::unique_ptr<Window> window;
};

TEST_F(QtViewTest, TheWindowHasItsTitleSizeAndLogControl) {
    EXPECT_EQ(MainWindow().windowTitle(), "QVAssistant");
    EXPECT_TRUE(MainWindow().isVisible());
    EXPECT_EQ(MainWindow().centralWidget()->size(), QSize(540, 188));
    EXPECT_EQ(Log().geometry(), QRect(20, 20, 500, 148));
    EXPECT_EQ(Log().verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    EXPECT_FALSE(Log().isReadOnly());
    EXPECT_FALSE(MainWindow().windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_TRUE(MainWindow().windowFlags() & Qt::WindowMinimizeButtonHint);
    EXPECT_EQ(Log().toPlainText(), "\nConnecting to Quorvane...");
}

TEST_F(QtViewTest, TheMenusHoldTheirItemsInOrderWithShortcuts) {
    std::vector<std::string> items;
    for (QAction* menu : MainWindow().menuBar()->actions()) {
        items.push_back(menu->text().toStdString());
        for (QAction* action : menu->menu()->actions()) {
            items.push_back(action->isSeparator() ? "-"
                                                  : action->text().toStdString() + " " +
                                                        action->shortcut().toString().toStdString());
        }
    }
    EXPECT_EQ(items, (std::vector<std::string>{"&File", "&Quit Ctrl+Q", "&Edit", "&Undo Ctrl+Z", "-", "Cu&t Ctrl+X",
                                               "&Copy Ctrl+C", "&Paste Ctrl+V", "&Delete ", "-",
                                               "Select &All Ctrl+A"}));
}

TEST_F(QtViewTest, SelectAllThenCopyPutsTheLogOnTheClipboard) {
    Action("Select &All")->trigger();
    Action("&Copy")->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "\nConnecting to Quorvane...");
}

TEST_F(QtViewTest, QuitEndsTheLoopWithStatusZero) {
    Action("&Quit")->trigger();
    EXPECT_TRUE(loop.IsQuitting());
    EXPECT_EQ(loop.ExitStatus(), 0);
}

TEST_F(QtViewTest, ClosingHidesTheWindowAndShowBringsItBack) {
    MainWindow().close();
    EXPECT_FALSE(window->Visible());
    window->Show();
    EXPECT_TRUE(window->Visible());
    window->Hide();
    EXPECT_FALSE(MainWindow().isVisible());
}

TEST_F(QtViewTest, TheLogFieldKeepsTheLogsArithmetic) {
    auto& field = window->ControlNamed<EditField>("InputField");
    test::ChannelPeer peer(dir.File("qvipc"));
    ASSERT_TRUE(test::RunUntil(loop, [&] { return Log().toPlainText().endsWith("Connected to Quorvane..."); }));
    EXPECT_EQ(field.Text().Bytes(), "\rConnecting to Quorvane...\rConnected to Quorvane...");
    EXPECT_EQ(field.LineNumAtCharPos(1000), 2);
    EXPECT_EQ(field.LineNumAtCharPos(0), 0);
    field.SetScrollPosition(-4);
    EXPECT_EQ(Log().verticalScrollBar()->value(), 0);
    field.SetSelStart(32767);
    EXPECT_EQ(Log().textCursor().position(), Log().toPlainText().size());
    std::string long_log;
    for (int i = 0; i < 400; ++i) long_log += "\rline " + std::to_string(i);
    window->writeInputField(String(long_log));
    EXPECT_LE(field.Text().Size(), 3000u);
}

}  // namespace
}  // namespace qv
