#pragma once

#include "shell/EditField.h"

class QPlainTextEdit;

namespace qv {

// The log's text control on screen. Its text holds the log's CR separators as
// line breaks and gives them back as CR, so that the log's own arithmetic on
// positions and lengths is the same as without a screen.
class QtEditField final : public EditField {
public:
    explicit QtEditField(QPlainTextEdit& widget) : widget_(widget) {}

    String Text() const override;
    void SetText(const String& text) override;
    std::int32_t LineNumAtCharPos(std::int32_t position) const override;
    void SetScrollPosition(std::int32_t line) override;
    void SetSelStart(std::int32_t position) override;
    void Refresh(bool immediate) override;

private:
    QPlainTextEdit& widget_;
};

}  // namespace qv
