#pragma once

#include "shell/MenuItem.h"

namespace qv {

// The menu bar of the application and of its window: File with Quit, and Edit
// with the usual text commands on the log. No item has a handler of the
// program's own; the view acts on its text control and ends the application.
class MenuBar1 final : public MenuItem {
public:
    // The one shared instance, made on first use.
    static MenuBar1& Instance();

    MenuBar1();
    void Untitled0();  // the File menu
    void Untitled1();  // the Edit menu

private:
    // Appends an item under `parent` (the bar itself when empty), setting its
    // values in the fixed order; a separator gets no shortcut.
    void Add(std::string_view parent, std::unique_ptr<MenuItem> item, const char* name, const char* text,
             const char* shortcut);
};

}  // namespace qv
