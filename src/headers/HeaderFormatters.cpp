// The two text forms of a header table. Neither folds long lines nor checks a
// value: a value goes out as it stands, and the caller adds the final line end.

#include "foundation/TextFunctions.h"
#include "headers/InternetHeaders.h"

namespace qv {

namespace {

// "Name: value" lines joined by CR LF, with no line end behind the last.
class HeaderLines {
public:
    void Add(const String& name, const String& value) {
        // A line is never empty (": " at least), so an empty text means no line yet.
        if (text_.Size() > 0) text_.Append("\r\n");
        text_.Append(name);
        text_.Append(": ");
        text_.Append(value);
    }
    String Take() { return text_.Take(); }

private:
    StringBuilder text_;
};

// The names that a mail header writes in steps of their own, or never (BCC),
// between colons so that "Dates" or "X-To" do not match.
constexpr const char* kOwnStepNames = ":Date:Subject:From:To:CC:BCC:Received:Return-Path:";

}  // namespace

String InternetHeaders::_FormatHTTPHeaders() const {
    HeaderLines lines;
    for (std::int32_t index = 0; index < Count(); ++index) lines.Add(Name(index), Value(index));
    return lines.Take();
}

String InternetHeaders::_FormatEmailHeaders() const {
    HeaderLines lines;
    // The names of the fixed steps go out in the spelling written here, not in
    // that of the keys. Of Return-Path, Date, Subject and From only the first
    // value is written: the last loop skips the rest.
    const auto addFirstValue = [&](const String& name) {
        if (table_.Find(name.Bytes())) lines.Add(name, Value(name));
    };
    const auto addJoinedValues = [&](const String& name) {
        if (NameCount(name) > 0) lines.Add(name, CommaSeparatedValues(name));
    };

    addFirstValue("Return-Path");
    const std::int32_t received = NameCount("Received");
    for (std::int32_t index = 0; index < received; ++index) lines.Add("Received", Value("Received", index));
    addFirstValue("Date");
    addFirstValue("Subject");
    addFirstValue("From");
    addJoinedValues("To");
    addJoinedValues("CC");

    for (std::int32_t index = 0; index < Count(); ++index) {
        const String name = Name(index);
        if (InStr(1, kOwnStepNames, ":" + name + ":") > 0) continue;
        lines.Add(name, Value(index));
    }
    return lines.Take();
}

}  // namespace qv
