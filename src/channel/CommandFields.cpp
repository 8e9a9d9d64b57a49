#include "protocol/CommandText.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

String RSSDownloadWindow::getCRFieldFromString(const String& fieldName, const String& text, bool& notFound) {
    return ReadCommandField(fieldName, text, notFound);
}

}  // namespace qv
