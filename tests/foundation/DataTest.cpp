#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/Base64.h"
#include "foundation/Dictionary.h"
#include "foundation/Exceptions.h"

namespace qv {
namespace {

TEST(DataTest, DictionaryKeysIgnoreLetterCaseKeepTheirFirstSpellingAndPlaceAndMoveUpOnRemoval) {
    Dictionary dictionary{{"Host", "a"}, {"Date", "b"}, {"Server", "c"}, {"Age", "d"}};
    dictionary.SetValue("DATE", "new");
    dictionary.SetValue("[", "bracket");
    EXPECT_FALSE(dictionary.HasKey("{")) << "only letters fold";
    dictionary.Remove("server");
    std::vector<std::string> keys;
    for (std::int32_t i = 0; i < dictionary.Count(); ++i) keys.emplace_back(dictionary.Key(i).Bytes());
    EXPECT_EQ(keys, (std::vector<std::string>{"Host", "Date", "Age", "["}));
    EXPECT_EQ(dictionary.Value("date").Bytes(), "new");
    dictionary.SetValue("age", "changed");  // each later key still reaches its own entry
    EXPECT_EQ(dictionary.Value("AGE").Bytes(), "changed");
    EXPECT_EQ(dictionary.Lookup("Via", "none").Bytes(), "none");
    EXPECT_THROW(dictionary.Value("Server"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Remove("Server"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Key(-1), OutOfBoundsException);
    EXPECT_THROW(dictionary.Key(4), OutOfBoundsException);
}

TEST(DataTest, Base64HasTheStandardAlphabetPaddingAndWrappedLines) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"}, {std::string("\xFB\xFF\x00", 3), "+/8A"}};
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64Encode(String(plain)).Bytes(), encoded) << plain;
        EXPECT_EQ(Base64Decode(String(encoded)).Bytes(), plain) << encoded;
    }
    EXPECT_EQ(Base64Decode("Zm9\nvYm\r\nFy").Bytes(), "foobar") << "a peer that wraps its lines";
    // EncodeBase64 wraps at 76 with CR LF and no line end behind the last line.
    const std::string fits(57, 'a');
    EXPECT_EQ(EncodeBase64(String(fits + "bc")).Bytes(), std::string(Base64Encode(String(fits)).Bytes()) + "\r\nYmM=");
    EXPECT_EQ(EncodeBase64(String(fits + "bc"), 0).Bytes(), Base64Encode(String(fits + "bc")).Bytes());
}

}  // namespace
}  // namespace qv
