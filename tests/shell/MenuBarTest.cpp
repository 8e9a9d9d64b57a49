#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/WindowFixture.h"

namespace qv {
namespace {

// "Parent/Name Text Shortcut" for every item, in menu order.
std::vector<std::string> Describe(const MenuItem& item, const std::string& parent = "bar") {
    std::vector<std::string> lines;
    for (const auto& child : item.Children()) {
        lines.push_back(parent + "/" + std::string(child->Name.Bytes()) + " " + std::string(child->Text.Bytes()) + " " +
                        std::string(child->KeyboardShortcut.Bytes()) + (child->AutoEnable ? "" : " (manual)"));
        for (auto& line : Describe(*child, std::string(child->Name.Bytes()))) lines.push_back(line);
    }
    return lines;
}

class MenuBarTest : public test::WindowFixture {};

TEST_F(MenuBarTest, FileAndEditHoldTheirItemsInOrder) {
    ASSERT_NE(window->MenuBar(), nullptr);
    EXPECT_EQ(Describe(*window->MenuBar()), (std::vector<std::string>{
                                                "bar/FileMenu &File ",
                                                "FileMenu/FileQuit &Quit Cmd+Q",
                                                "bar/EditMenu &Edit ",
                                                "EditMenu/EditUndo &Undo Cmd+Z",
                                                "EditMenu/UntitledMenu1 - ",
                                                "EditMenu/EditCut Cu&t Cmd+X",
                                                "EditMenu/EditCopy &Copy Cmd+C",
                                                "EditMenu/EditPaste &Paste Cmd+V",
                                                "EditMenu/EditClear &Delete ",
                                                "EditMenu/UntitledMenu0 - ",
                                                "EditMenu/EditSelectAll Select &All Cmd+A",
                                            }));
}

TEST_F(MenuBarTest, OneSharedBarWhoseItemsTheWindowFindsByName) {
    EXPECT_EQ(&MenuBar1::Instance(), &MenuBar1::Instance());
    EXPECT_EQ(window->MenuBar(), &MenuBar1::Instance());
    EXPECT_EQ(window->FileQuit().Text.Bytes(), "&Quit");
    EXPECT_EQ(window->UntitledMenu1().Name.Bytes(), "UntitledMenu1");
    EXPECT_EQ(window->EditSelectAll().KeyboardShortcut.Bytes(), "Cmd+A");
}

}  // namespace
}  // namespace qv
