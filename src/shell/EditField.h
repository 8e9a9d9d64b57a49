#pragma once

#include <cstdint>

#include "foundation/String.h"

namespace qv {

// The text control that holds the activity log. The window logic sees only
// this; a headless field and a real widget both implement it.
class EditField {
public:
    virtual ~EditField() = default;
    virtual String Text() const = 0;
    virtual void SetText(const String& text) = 0;
    // 0-based line of the character at 0-based `position`.
    virtual std::int32_t LineNumAtCharPos(std::int32_t position) const = 0;
    // Both setters accept any value: a negative scroll position shows the top,
    // a selection start beyond the text puts the insertion point at its end.
    virtual void SetScrollPosition(std::int32_t line) = 0;
    virtual void SetSelStart(std::int32_t position) = 0;
    virtual void Refresh(bool immediate) = 0;
};

}  // namespace qv
