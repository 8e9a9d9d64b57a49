#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// The values of the window that a view shows, set once by Layout.
struct WindowValues {
    String Title;
    std::int32_t Width;
    std::int32_t Height;
    bool Visible;
    bool MenuBarVisible;
    bool CloseButton;
    bool Resizeable;
    bool MaximizeButton;
    bool MinimizeButton;
};

// The values of the log's text control that a view shows, set once at its creation.
struct EditFieldValues {
    std::int32_t Left;
    std::int32_t Top;
    std::int32_t Width;
    std::int32_t Height;
    bool Multiline;
    bool ScrollbarVertical;
    bool ScrollbarHorizontal;
    bool ReadOnly;
    bool AcceptTabs;
    String Text;
    bool Enabled;
    bool Visible;
};

}  // namespace qv
