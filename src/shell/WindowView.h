#pragma once

#include <memory>

#include "shell/EditField.h"
#include "shell/MenuItem.h"
#include "shell/ViewValues.h"

namespace qv {

// How the window appears: on a screen, or nowhere at all. The window logic
// talks to this and never to a toolkit.
class WindowView {
public:
    virtual ~WindowView() = default;
    virtual void SetMenuBar(const MenuItem& menuBar) = 0;
    virtual void ApplyValues(const WindowValues& values) = 0;
    virtual std::unique_ptr<EditField> MakeEditField(const EditFieldValues& values) = 0;
    virtual bool Visible() const = 0;
    virtual void Hide() = 0;
    virtual void Show() = 0;
};

}  // namespace qv
