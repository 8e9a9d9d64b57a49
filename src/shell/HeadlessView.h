#pragma once

#include <memory>
#include <optional>

#include "shell/LogEcho.h"
#include "shell/WindowView.h"

namespace qv {

// The log's text control with no screen: the text in memory. With an echo
// descriptor it also writes each entry there as one line, at the immediate
// refresh that follows the entry, so a person running the assistant without a
// window can follow the log.
class HeadlessEditField final : public EditField {
public:
    // `echoFd` receives the log's entries; -1 for none.
    explicit HeadlessEditField(int echoFd);

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
    std::optional<LogEcho> echo_;
};

// A window that is nowhere on a screen but keeps its visibility, for machines
// without a display and for tests.
class HeadlessView final : public WindowView {
public:
    // `echoFd` receives the log's entries; -1 for none.
    explicit HeadlessView(int echoFd = -1) : echoFd_(echoFd) {}

    void SetMenuBar(const MenuItem& /*menuBar*/) override {}  // nobody to choose from it
    void ApplyValues(const WindowValues& values) override { visible_ = values.Visible; }
    std::unique_ptr<EditField> MakeEditField(const EditFieldValues& values) override;
    bool Visible() const override { return visible_; }
    void Hide() override { visible_ = false; }
    void Show() override { visible_ = true; }

private:
    bool visible_ = false;
    int echoFd_;
};

}  // namespace qv
