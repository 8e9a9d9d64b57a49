#include "shell/HeadlessView.h"

#include <algorithm>

#include "foundation/TextFunctions.h"

namespace qv {

namespace {

std::int32_t CountLineBreaks(std::string_view bytes) {
    std::int32_t breaks = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n' || (bytes[i] == '\r' && (i + 1 == bytes.size() || bytes[i + 1] != '\n'))) ++breaks;
    }
    return breaks;
}

}  // namespace

HeadlessEditField::HeadlessEditField(int echoFd) {
    if (echoFd >= 0) echo_.emplace(echoFd);
}

void HeadlessEditField::SetText(const String& text) {
    text_ = text.WithEncoding(Encoding::UTF8);
    SetSelStart(selStart_);
}

std::int32_t HeadlessEditField::LineNumAtCharPos(std::int32_t position) const {
    return CountLineBreaks(Left(text_, std::max(position, 0)).Bytes());
}

void HeadlessEditField::SetScrollPosition(std::int32_t line) {
    scrollPosition_ = std::clamp(line, 0, CountLineBreaks(text_.Bytes()));
}

void HeadlessEditField::SetSelStart(std::int32_t position) { selStart_ = std::clamp(position, 0, Len(text_)); }

void HeadlessEditField::Refresh(bool immediate) {
    if (!immediate || !echo_) return;
    const std::string_view text = text_.Bytes();
    const std::size_t lastBreak = text.find_last_of("\r\n");
    echo_->WriteLine(lastBreak == std::string_view::npos ? text : text.substr(lastBreak + 1));
}

std::unique_ptr<EditField> HeadlessView::MakeEditField(const EditFieldValues& values) {
    auto field = std::make_unique<HeadlessEditField>(echoFd_);
    field->SetText(values.Text);
    return field;
}

}  // namespace qv
