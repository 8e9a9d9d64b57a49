#include "foundation/Base64.h"

#include <gtest/gtest.h>

#include <string>

namespace qv {
namespace {

TEST(Base64Test, EncodesTheStandardAlphabetWithPadding) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},          {"f", "Zg=="},     {"fo", "Zm8="},
        {"foo", "Zm9v"},   {"foobar", "Zm9vYmFy"},
        {std::string("\xFB\xFF\x00", 3), "+/8A"},
    };
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64Encode(String(plain)).Bytes(), encoded) << plain;
        EXPECT_EQ(Base64Decode(String(encoded)).Bytes(), plain) << encoded;
    }
}

TEST(Base64Test, DecodingSkipsLineBreaksOfAPeerThatWraps) {
    EXPECT_EQ(Base64Decode("Zm9v\r\nYmFy\r\n").Bytes(), "foobar");
    EXPECT_EQ(Base64Decode("Zm9\nvYm\rFy").Bytes(), "foobar");
}

TEST(Base64Test, EncodeBase64WrapsAt76WithCRLFAndNoLineEndAtTheEnd) {
    const std::string fits(57, 'a');  // exactly 76 characters
    EXPECT_EQ(EncodeBase64(String(fits)).Bytes().find('\r'), std::string::npos);
    const std::string encoded(EncodeBase64(String(fits + "bc")).Bytes());
    ASSERT_EQ(encoded.size(), 76u + 2 + 4);
    EXPECT_EQ(encoded.substr(76, 2), "\r\n");
    EXPECT_EQ(Base64Decode(String(encoded)).Bytes(), fits + "bc");
    EXPECT_EQ(EncodeBase64(String(fits + "bc"), 0).Bytes(), Base64Encode(String(fits + "bc")).Bytes());
}

}  // namespace
}  // namespace qv
