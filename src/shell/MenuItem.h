#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "foundation/String.h"

namespace qv {

// One item of a menu tree, as a toolkit-free description: a view turns the
// tree into real menus. "-" as the text makes a separator, "&" marks the
// mnemonic letter, and a shortcut is written as "Cmd+Q" (the command key of a
// Mac, Ctrl elsewhere).
class MenuItem {
public:
    virtual ~MenuItem() = default;

    String Name;
    bool AutoEnable = true;
    String Text;
    String KeyboardShortcut;

    void Append(std::unique_ptr<MenuItem> item) { children_.push_back(std::move(item)); }
    // The child of that name, searched through the whole tree below; nil if none.
    MenuItem* Child(std::string_view name) const;
    const std::vector<std::unique_ptr<MenuItem>>& Children() const { return children_; }
    bool IsSeparator() const { return Text.Bytes() == "-"; }

private:
    std::vector<std::unique_ptr<MenuItem>> children_;
};

// The item that ends the application. The view carries it out itself: the
// program attaches nothing to it.
class QuitMenuItem final : public MenuItem {};

}  // namespace qv
