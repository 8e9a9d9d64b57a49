#include "channel/PayloadCodec.h"
#include "foundation/TextFunctions.h"
#include "shell/RSSDownloadWindow.h"

namespace qv {

// A field line is its name, one separator character that is never looked at,
// and the value up to the next CR. The name matches at the start of any line,
// whatever follows it, so of two names where one begins the other, the shorter
// must stand first in a command; the first matching line wins.
String RSSDownloadWindow::getCRFieldFromString(const String& fieldName, const String& text, bool& notFound) {
    String work = CR + text + CR;
    notFound = true;
    String result;
    const std::int32_t p = InStr(0, work, CR + fieldName);
    if (p >= 1) {
        work = Mid(work, p + Len(fieldName) + 2);
        const std::int32_t q = InStr(0, work, CR);
        if (q >= 1) {
            result = Left(work, q - 1);
            notFound = false;
        }
    }
    return setToUTF8(result);
}

}  // namespace qv
