#include <gtest/gtest.h>

#include <string>

#include "http/PageBuffer.h"

namespace qv {
namespace {

// Pieces of many sizes, so that the buffer outgrows its room several times.
std::string AppendPieces(PageBuffer& buffer, std::size_t count) {
    std::string expected;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string piece(1 + (i * 7919) % 5000, static_cast<char>('a' + i % 26));
        buffer.Append(String(piece));
        expected += piece;
    }
    return expected;
}

TEST(PageBufferTest, KeepsEveryByteInOrderAcrossManyGrowths) {
    PageBuffer buffer;
    const std::string expected = AppendPieces(buffer, 2000);
    EXPECT_EQ(buffer.Size(), expected.size());
    EXPECT_EQ(buffer.Text().Bytes(), expected);
}

TEST(PageBufferTest, TextTwiceGivesTheSameBytes) {
    PageBuffer buffer;
    const std::string expected = AppendPieces(buffer, 50);
    const String first = buffer.Text();
    EXPECT_EQ(buffer.Text().Bytes(), expected);
    EXPECT_EQ(first.Bytes(), expected);
}

TEST(PageBufferTest, GrowsOnAfterBeingRead) {
    PageBuffer buffer;
    std::string expected = AppendPieces(buffer, 30);
    const String early = buffer.Text();
    expected += AppendPieces(buffer, 300);
    EXPECT_EQ(buffer.Size(), expected.size());
    EXPECT_EQ(buffer.Text().Bytes(), expected);
    EXPECT_EQ(early.Bytes(), expected.substr(0, early.Size()));
}

TEST(PageBufferTest, ClearStartsAnEmptyBody) {
    PageBuffer buffer;
    AppendPieces(buffer, 40);
    buffer.Text();
    buffer.Clear();
    EXPECT_EQ(buffer.Size(), 0u);
    EXPECT_TRUE(buffer.Text().IsEmpty());
    buffer.Append("next");
    EXPECT_EQ(buffer.Text().Bytes(), "next");
}

}  // namespace
}  // namespace qv
