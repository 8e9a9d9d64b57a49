#include "shell/qt/QtEditField.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>
#include <string>

namespace qv {

String QtEditField::Text() const {
    QByteArray bytes = widget_.toPlainText().toUtf8();
    bytes.replace('\n', '\r');
    return String(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())), Encoding::UTF8);
}

void QtEditField::SetText(const String& text) {
    QByteArray bytes(text.Bytes().data(), static_cast<qsizetype>(text.Size()));
    bytes.replace('\r', '\n');
    widget_.setPlainText(QString::fromUtf8(bytes));
}

std::int32_t QtEditField::LineNumAtCharPos(std::int32_t position) const {
    const QTextDocument& document = *widget_.document();
    const int last = std::max(document.characterCount() - 1, 0);
    return document.findBlock(std::clamp(position, 0, last)).blockNumber();
}

// The scroll bar keeps the value within its range: a negative line shows the top.
void QtEditField::SetScrollPosition(std::int32_t line) { widget_.verticalScrollBar()->setValue(line); }

void QtEditField::SetSelStart(std::int32_t position) {
    QTextCursor cursor = widget_.textCursor();
    cursor.setPosition(std::clamp(position, 0, std::max(widget_.document()->characterCount() - 1, 0)));
    widget_.setTextCursor(cursor);
}

// Paints at once, also when called from inside a long copy that holds the loop.
void QtEditField::Refresh(bool immediate) {
    if (immediate) {
        widget_.viewport()->repaint();
    } else {
        widget_.viewport()->update();
    }
}

}  // namespace qv
