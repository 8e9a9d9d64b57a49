#include "foundation/Base64.h"
#include "foundation/TextFunctions.h"
#include "http/HTTPSocket.h"

namespace qv {

namespace {

// The characters escaped in a form, in the order of escaping: "%" first, so
// that no escape is escaped again, and "+" before blanks turn into it. Unlike
// most encoders this leaves ".:?@'\"|" and every byte above 127 as they are and
// escapes "-", "_" and "~"; the servers it talks to are used to exactly this.
const String kEscaped = String("%&=,/\\][{}`~-_()*^$#!+;<>") + "\r\n";

}  // namespace

void HTTPSocket::SetFormData(const Dictionary* form) {
    if (form) {
        _postContent = EncodeFormData(form);
        _postContentType = "application/x-www-form-urlencoded";
    } else {
        _postContent = String();
        _postContentType = String();
    }
}

String HTTPSocket::EncodeFormData(const Dictionary* form) {
    const Dictionary& pairs = Deref(form);
    StringBuilder encoded;
    for (std::int32_t i = 0; i < pairs.Count(); ++i) {
        const String key = pairs.Key(i);
        encoded.Append("&");
        encoded.Append(_EncodeURLString(key));
        encoded.Append("=");
        encoded.Append(_EncodeURLString(pairs.Value(key)));
    }
    return Mid(encoded.Take(), 2);
}

void HTTPSocket::SetPostContent(const String& content, const String& contentType) {
    _postContent = content;
    _postContentType = contentType;
}

String HTTPSocket::_EncodeURLString(const String& text) const {
    String encoded = text;
    for (std::int32_t i = 1; i <= Len(kEscaped); ++i) {
        const String character = Mid(kEscaped, i, 1);
        encoded = ReplaceAll(encoded, character, "%" + Right("00" + Hex(Asc(character)), 2));
    }
    return ReplaceAll(encoded, " ", "+");
}

// Always Basic, whatever the challenge said; the owner sees the whole header
// block and answers with a name and a password.
bool HTTPSocket::_SetAuthentication() {
    String name;
    String password;
    const bool answer = events.AuthenticationRequired && events.AuthenticationRequired(_pageHeaders, name, password);
    if (answer) _authenticationKey = "Basic " + EncodeBase64(name + ":" + password, 76);
    return answer;
}

}  // namespace qv
