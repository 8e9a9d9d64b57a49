#include "protocol/CommandText.h"

#include "foundation/TextFunctions.h"
#include "protocol/PayloadCodec.h"

namespace qv {

String CommandText(const std::vector<Field>& fields) {
    std::string text;
    for (const Field& field : fields) {
        text += field.name;
        text += ':';
        text += field.value;
        text += '\r';
    }
    return String(std::move(text));
}

String getCRFieldFromString(const String& fieldName, const String& text, bool& notFound) {
    const String CR("\r");
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
