#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "foundation/Dictionary.h"
#include "foundation/Exceptions.h"

namespace qv {
namespace {

std::vector<std::string> Keys(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (std::int32_t i = 0; i < dictionary.Count(); ++i) keys.emplace_back(dictionary.Key(i).Bytes());
    return keys;
}

TEST(DictionaryTest, KeysIgnoreLetterCaseAndKeepTheirFirstSpellingAndPlace) {
    Dictionary dictionary{{"Host", "a"}, {"Date", "b"}, {"Server", "c"}, {"Age", "d"}};
    dictionary.SetValue("DATE", "new");
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"Host", "Date", "Server", "Age"}));
    EXPECT_EQ(dictionary.Value("date").Bytes(), "new");
    EXPECT_EQ(dictionary.Lookup("HOST", "none").Bytes(), "a");
    EXPECT_EQ(dictionary.Lookup("Via", "none").Bytes(), "none");
    dictionary.SetValue("[", "bracket");
    EXPECT_FALSE(dictionary.HasKey("{")) << "only letters fold";

    // Removal moves later keys up, and each still reaches its own entry.
    dictionary.Remove("server");
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"Host", "Date", "Age", "["}));
    EXPECT_EQ(dictionary.Value("Age").Bytes(), "d");
    dictionary.SetValue("age", "changed");
    EXPECT_EQ(dictionary.Value("AGE").Bytes(), "changed");
    EXPECT_EQ(dictionary.Count(), 4);

    EXPECT_THROW(dictionary.Value("Server"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Remove("Server"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Key(-1), OutOfBoundsException);
    EXPECT_THROW(dictionary.Key(4), OutOfBoundsException);
}

TEST(Base64Test, StandardAlphabetWithPaddingAndWrappedLines) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"}, {std::string("\xFB\xFF\x00", 3), "+/8A"},
    };
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64Encode(String(plain)).Bytes(), encoded) << plain;
        EXPECT_EQ(Base64Decode(String(encoded)).Bytes(), plain) << encoded;
    }
    EXPECT_EQ(Base64Decode("Zm9\nvYm\r\nFy").Bytes(), "foobar") << "a peer that wraps its lines";

    // EncodeBase64 wraps at 76 with CR LF and no line end behind the last line.
    const std::string fits(57, 'a');
    EXPECT_EQ(EncodeBase64(String(fits)).Bytes(), Base64Encode(String(fits)).Bytes());
    const std::string encoded(EncodeBase64(String(fits + "bc")).Bytes());
    EXPECT_EQ(encoded, std::string(Base64Encode(String(fits)).Bytes()) + "\r\nYmM=");
    EXPECT_EQ(EncodeBase64(String(fits + "bc"), 0).Bytes(), Base64Encode(String(fits + "bc")).Bytes());
}

}  // namespace
}  // namespace qv
