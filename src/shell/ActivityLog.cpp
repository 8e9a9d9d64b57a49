#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"
#include "shell/RSSFeedModule.h"

namespace qv {

namespace {

constexpr std::int32_t kTrimAbove = 3000;
constexpr std::int32_t kKeepFrom = 2000;
constexpr std::int32_t kScrollBack = 6;
// Beyond any length the log reaches: puts the insertion point at the end.
constexpr std::int32_t kSelectionAtEnd = 32767;

}  // namespace

void RSSDownloadWindow::writeInputField(const String& text) {
    const auto inputField = [this]() -> EditField& { return Deref(InputField); };
    const String& newLine = RSSFeedModule::NewLine;

    inputField().SetText(inputField().Text() + newLine + text);

    if (Len(inputField().Text()) > kTrimAbove) {
        const String tail = Mid(inputField().Text(), kKeepFrom);
        const std::int32_t pos = InStr(0, tail, newLine);
        // Deliberately one character further than the start of the next line:
        // the first character of the oldest kept line goes too. Kept as it is.
        inputField().SetText(Mid(inputField().Text(), kKeepFrom + pos + Len(newLine)));
    }

    const std::int32_t line = inputField().LineNumAtCharPos(Len(inputField().Text()));
    inputField().SetScrollPosition(line - kScrollBack);
    inputField().SetSelStart(kSelectionAtEnd);
    inputField().Refresh(true);
}

}  // namespace qv
