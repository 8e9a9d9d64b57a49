#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "foundation/String.h"

namespace qv {
namespace {

TEST(String, SameTextIgnoresOnlyAsciiLetterCase) {
    struct Case {
        String left;
        String right;
        bool same;
    };
    const Case cases[] = {
        {"getnews", "GetNews", true},
        {"", String(), true},
        {"abc", "abd", false},
        {"abc", "ab", false},
        {"[", "{", false},  // 0x5B and 0x7B differ only in the case bit
        {"@", "`", false},
        {"\xC3\xA9", "\xC3\x89", false},
        {String(std::string_view("a\0b", 3)), String(std::string_view("A\0B", 3)), true},
        {String(std::string_view("a\0b", 3)), "a", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(SameText(c.left, c.right), c.same)
            << "'" << c.left.Bytes() << "' '" << c.right.Bytes() << "'";
        EXPECT_EQ(SameText(c.right, c.left), c.same);
    }
}

TEST(String, EmptyAndNeverAssignedAreTheSame) {
    EXPECT_TRUE(String().IsEmpty());
    EXPECT_TRUE(String("").IsEmpty());
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_EQ(String(std::string_view("a\0b", 3)).Size(), 3u);
}

TEST(String, PlusJoinsAndMarks) {
    const String plain("ab");
    const String marked(std::string_view("\xC3\xA9"), Encoding::UTF8);

    const String joined = plain + "cd";
    EXPECT_EQ(joined.Bytes(), "abcd");
    EXPECT_EQ(joined.GetEncoding(), Encoding::None);

    EXPECT_EQ((plain + marked).Bytes(), "ab\xC3\xA9");
    EXPECT_EQ((plain + marked).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ((marked + plain).GetEncoding(), Encoding::UTF8);

    // An empty side still passes its mark on.
    const String emptyMarked(std::string_view(), Encoding::UTF8);
    EXPECT_EQ((plain + emptyMarked).Bytes(), "ab");
    EXPECT_EQ((plain + emptyMarked).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ((emptyMarked + plain).GetEncoding(), Encoding::UTF8);
    EXPECT_EQ((plain + String()).GetEncoding(), Encoding::None);
}

TEST(String, CopiesShareStorage) {
    const String original(std::string(1 << 20, 'x'));
    const String copy =
        original;  // NOLINT(performance-unnecessary-copy-initialization): the point of the test.
    EXPECT_EQ(copy.Bytes().data(), original.Bytes().data());
    EXPECT_EQ(original.WithEncoding(Encoding::UTF8).Bytes().data(), original.Bytes().data());
    EXPECT_EQ((original + "").Bytes().data(), original.Bytes().data());
}

TEST(String, BuilderHandsOverItsBytesAndEmptiesItself) {
    StringBuilder builder;
    builder.Append(std::string_view("GET "));
    builder.Append(String("/index.html"));
    EXPECT_EQ(builder.Size(), 15u);

    const String first = builder.Take();
    EXPECT_EQ(first.Bytes(), "GET /index.html");
    EXPECT_EQ(first.GetEncoding(), Encoding::None);
    EXPECT_EQ(builder.Size(), 0u);
    EXPECT_TRUE(builder.Take().IsEmpty());

    builder.Append(String(std::string_view("\xC3\xA9"), Encoding::UTF8));
    EXPECT_EQ(builder.Take().GetEncoding(), Encoding::UTF8);
    builder.Append(std::string_view("x"));
    EXPECT_EQ(builder.Take().GetEncoding(), Encoding::None) << "the mark must not outlive Take";
    builder.Append(std::string_view("x"));
    EXPECT_EQ(builder.Take(Encoding::UTF8).GetEncoding(), Encoding::UTF8);
}

}  // namespace
}  // namespace qv
