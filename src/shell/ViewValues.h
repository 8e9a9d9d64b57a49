#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// The values of the window, set once by Layout. A view uses what it can show.
struct WindowValues {
    std::int32_t Placement;
    String Title;
    std::int32_t Width;
    std::int32_t Height;
    std::int32_t MinWidth;
    std::int32_t MinHeight;
    std::int32_t MaxWidth;
    std::int32_t MaxHeight;
    std::int32_t Frame;
    bool Composite;
    bool HasBackColor;
    std::uint32_t BackColor;
    bool Visible;
    bool FullScreen;
    bool MenuBarVisible;
    bool CloseButton;
    bool Resizeable;
    bool LiveResize;
    bool MaximizeButton;
    bool MinimizeButton;
    std::int32_t MacProcID;
};

// The values of the log's text control, set once at its creation.
struct EditFieldValues {
    std::int32_t Left;
    std::int32_t Top;
    std::int32_t Width;
    std::int32_t Height;
    bool LockLeft;
    bool LockTop;
    bool LockRight;
    bool LockBottom;
    bool Multiline;
    bool ScrollbarVertical;
    bool ScrollbarHorizontal;
    bool Styled;
    bool Password;
    bool ReadOnly;
    std::int32_t LimitText;
    bool AcceptTabs;
    std::int32_t Alignment;
    String Format;
    String Mask;
    String Text;
    bool Border;
    bool UseFocusRing;
    std::uint32_t TextColor;
    std::uint32_t BackColor;
    String TextFont;
    std::int32_t TextSize;
    bool Bold;
    bool Italic;
    bool Underline;
    bool Enabled;
    bool Visible;
    bool AutoDeactivate;
    std::int32_t TabIndex;
    bool TabStop;
    std::int32_t TabPanelIndex;
    String HelpTag;
    String DataSource;
    String DataField;
    String InitialParent;
};

}  // namespace qv
