#include "shell/MenuBar1.h"

#include "foundation/Exceptions.h"

namespace qv {

MenuBar1& MenuBar1::Instance() {
    static MenuBar1 shared;
    return shared;
}

MenuBar1::MenuBar1() {
    Untitled0();
    Untitled1();
}

void MenuBar1::Add(std::string_view parent, std::unique_ptr<MenuItem> item, const char* name, const char* text,
                   const char* shortcut) {
    item->Name = name;
    item->AutoEnable = true;
    item->Text = text;
    if (!item->IsSeparator()) item->KeyboardShortcut = shortcut;
    if (parent.empty()) {
        Append(std::move(item));
    } else {
        Deref(Child(parent)).Append(std::move(item));
    }
}

void MenuBar1::Untitled0() {
    Add("", std::make_unique<MenuItem>(), "FileMenu", "&File", "");
    Add("FileMenu", std::make_unique<QuitMenuItem>(), "FileQuit", "&Quit", "Cmd+Q");
}

// The separators' numbers run against their order on purpose: UntitledMenu1
// is the upper one.
void MenuBar1::Untitled1() {
    Add("", std::make_unique<MenuItem>(), "EditMenu", "&Edit", "");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditUndo", "&Undo", "Cmd+Z");
    Add("EditMenu", std::make_unique<MenuItem>(), "UntitledMenu1", "-", "");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditCut", "Cu&t", "Cmd+X");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditCopy", "&Copy", "Cmd+C");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditPaste", "&Paste", "Cmd+V");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditClear", "&Delete", "");
    Add("EditMenu", std::make_unique<MenuItem>(), "UntitledMenu0", "-", "");
    Add("EditMenu", std::make_unique<MenuItem>(), "EditSelectAll", "Select &All", "Cmd+A");
}

}  // namespace qv
