#include "channel/PayloadCodec.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/TextFunctions.h"

namespace qv {
namespace {

std::string Prefix(const String& packed) { return std::string(packed.Bytes().substr(0, 3)); }

TEST(PayloadCodecTest, SizePrefixIsTheByteCountModulo2To24LowestFirst) {
    struct Case {
        std::size_t size;
        std::string prefix;
    };
    const Case cases[] = {
        {0, std::string("\x00\x00\x00", 3)},        {47, std::string("\x2F\x00\x00", 3)},
        {255, std::string("\xFF\x00\x00", 3)},       {65536, std::string("\x00\x00\x01", 3)},
        {16777216, std::string("\x00\x00\x00", 3)},  {16777217, std::string("\x01\x00\x00", 3)},
    };
    for (const Case& c : cases) {
        const String packed = zCompress(String(std::string(c.size, 'q')));
        ASSERT_GT(packed.Size(), 3u) << c.size;
        EXPECT_EQ(Prefix(packed), c.prefix) << c.size;
    }
}

TEST(PayloadCodecTest, PrefixCountsBytesNotCharacters) {
    const String threeCharacters = setToUTF8(String("\xC3\xA4\xC3\xB6\xC3\xBC"));
    ASSERT_EQ(Len(threeCharacters), 3);
    EXPECT_EQ(Prefix(zCompress(threeCharacters)), std::string("\x06\x00\x00", 3));
}

TEST(PayloadCodecTest, EveryByteValueSurvivesTheRoundTrip) {
    std::string all;
    for (int i = 0; i < 3 * 256; ++i) all.push_back(static_cast<char>(i % 256));
    EXPECT_TRUE(zDecompress(zCompress(String(all))).Bytes() == all);
    // 255 in the prefix is 255, not -1: the size would be wrong and the stream rejected.
    // Sizes whose prefix wraps at 2^24 come back whole, as the peer sends them.
    for (const std::size_t size : {std::size_t{0xFF00FF}, std::size_t{20} << 20}) {
        EXPECT_EQ(zDecompress(zCompress(String(std::string(size, 'z')))).Size(), size);
    }
}

TEST(PayloadCodecTest, WhatDoesNotDecompressGivesTheEmptyText) {
    const std::string packed(zCompress("Command:Status\r").Bytes());
    std::string corrupt = packed;
    corrupt[5] = static_cast<char>(corrupt[5] ^ 0x55);
    std::string prefixTooSmall = packed;
    prefixTooSmall[0] = 3;  // the text has 15 bytes
    const std::string cases[] = {"", std::string("\x0F\x00", 2), packed.substr(0, 3), corrupt, prefixTooSmall,
                                 packed.substr(0, packed.size() - 2)};
    for (const std::string& data : cases) EXPECT_TRUE(zDecompress(String(data)).IsEmpty()) << data.size();
}

TEST(PayloadCodecTest, SetToUTF8MarksWithoutTouchingAByte) {
    const String bytes(std::string_view("\xFF\x00x", 3));
    const String marked = setToUTF8(bytes);
    EXPECT_EQ(marked.GetEncoding(), Encoding::UTF8);
    EXPECT_EQ(marked.Bytes(), bytes.Bytes());
}

}  // namespace
}  // namespace qv
