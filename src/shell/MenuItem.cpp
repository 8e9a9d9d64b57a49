#include "shell/MenuItem.h"

namespace qv {

MenuItem* MenuItem::Child(std::string_view name) const {
    for (const auto& child : children_) {
        if (child->Name.Bytes() == name) return child.get();
        if (MenuItem* below = child->Child(name)) return below;
    }
    return nullptr;
}

}  // namespace qv
