#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/String.h"

namespace qv {

// A command's message text is a list of fields, one to a line: the name, one
// separator character that is never looked at, the value, and CR.
struct Field {
    Field(std::string_view fieldName, std::string_view fieldValue) : name(fieldName), value(fieldValue) {}
    std::string name;
    std::string value;
};

// The message text of `fields`, ':' as the separator.
String CommandText(const std::vector<Field>& fields);

// The value of the field `fieldName` in a command's text, marked UTF-8, and
// whether it was missing. The name matches at the start of any line, whatever
// follows it, so of two names where one begins the other, the shorter must
// stand first in a command; the first matching line wins.
String getCRFieldFromString(const String& fieldName, const String& text, bool& notFound);

}  // namespace qv
