#include <gtest/gtest.h>

#include <string>

#include "support/WindowFixture.h"

namespace qv {
namespace {

class CommandFieldsTest : public test::WindowFixture {};

TEST_F(CommandFieldsTest, ReadsAFieldByTheLongStandingRule) {
    struct Case {
        const char* what;
        const char* name;
        std::string text;
        std::string value;
        bool notFound;
    };
    const Case cases[] = {
        {"plain", "Command", "Command:Status\r", "Status", false},
        {"last line without its CR", "Command", "GetPageURL:x\rCommand:Show", "Show", false},
        {"any separator, never looked at", "Command", "Command=Hide\r", "Hide", false},
        {"name in another letter case", "command", "COMMAND:Hide\r", "Hide", false},
        {"a blank behind the separator stays", "Command", "Command: Status\r", " Status", false},
        {"the first of two lines wins", "Command", "Command:Hide\rCommand:Show\r", "Hide", false},
        {"CR LF: the first field is found", "Command", "Command:Status\r\nGetPageURL:x\r\n", "Status", false},
        {"CR LF: a later field is not", "GetPageURL", "Command:GetPageURL\r\nGetPageURL:x\r\n", "", true},
        {"LF and colons are part of a value", "GetPageURL", "GetPageURL:http://a:8/\nb\r", "http://a:8/\nb", false},
        {"a longer name standing first is taken", "SrcFileInfo", "SrcFileInfoMD5:abc\rSrcFileInfo:eA==\r", "D5:abc",
         false},
        {"missing", "DateStr", "Command:GetNews\r", "", true},
        {"name at the very end", "Command", "Command", "", true},
        {"name, separator and nothing", "Command", "Command:", "", false},
    };
    for (const Case& c : cases) {
        bool notFound = !c.notFound;
        const String value = window->getCRFieldFromString(c.name, String(c.text), notFound);
        EXPECT_EQ(value.Bytes(), c.value) << c.what;
        EXPECT_EQ(notFound, c.notFound) << c.what;
        EXPECT_EQ(value.GetEncoding(), Encoding::UTF8) << c.what;
    }
}

}  // namespace
}  // namespace qv
