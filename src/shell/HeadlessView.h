#pragma once

#include <cstdio>
#include <memory>

#include "shell/WindowView.h"

namespace qv {

// The log's text control with no screen: the text in memory. With an echo
// stream it also writes each entry there as one line, at the immediate refresh
// that follows the entry, so a person running the assistant without a window
// can follow the log.
class HeadlessEditField final : public EditField {
public:
    explicit HeadlessEditField(std::FILE* echo) : echo_(echo) {}

    String Text() const override { return text_; }
    void SetText(const String& text) override;
    std::int32_t LineNumAtCharPos(std::int32_t position) const override;
    void SetScrollPosition(std::int32_t line) override;
    void SetSelStart(std::int32_t position) override;
    void Refresh(bool immediate) override;

    std::int32_t ScrollPosition() const { return scrollPosition_; }
    std::int32_t SelStart() const { return selStart_; }

private:
    String text_;
    std::int32_t scrollPosition_ = 0;
    std::int32_t selStart_ = 0;
    std::FILE* echo_;
};

// A window that is nowhere on a screen but keeps its visibility, for machines
// without a display and for tests.
class HeadlessView final : public WindowView {
public:
    // `echo` receives the log's entries; null for none.
    explicit HeadlessView(std::FILE* echo = nullptr) : echo_(echo) {}

    void SetMenuBar(const MenuItem& /*menuBar*/) override {}  // nobody to choose from it
    void ApplyValues(const WindowValues& values) override { visible_ = values.Visible; }
    std::unique_ptr<EditField> MakeEditField(const EditFieldValues& values) override;
    bool Visible() const override { return visible_; }
    void Hide() override { visible_ = false; }
    void Show() override { visible_ = true; }

private:
    bool visible_ = false;
    std::FILE* echo_;
};

}  // namespace qv
