#include <gtest/gtest.h>

#include <string>
#include <vector>

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
    Dictionary dictionary{{"Host", "a"}, {"Date", "b"}};
    dictionary.SetValue("Server", "c");
    dictionary.SetValue("DATE", "new");
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"Host", "Date", "Server"}));
    EXPECT_TRUE(dictionary.HasKey("sErVeR"));
    EXPECT_EQ(dictionary.Value("date").Bytes(), "new");
    EXPECT_EQ(dictionary.Lookup("HOST", "none").Bytes(), "a");
    EXPECT_EQ(dictionary.Lookup("Age", "none").Bytes(), "none");

    // "[" and "{" differ only in the bit that separates the cases of a letter.
    dictionary.SetValue("[", "bracket");
    EXPECT_FALSE(dictionary.HasKey("{"));
}

TEST(DictionaryTest, MissingKeysAndPositionsThrow) {
    Dictionary dictionary{{"One", "1"}};
    EXPECT_THROW(dictionary.Value("Two"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Remove("Two"), KeyNotFoundException);
    EXPECT_THROW(dictionary.Key(-1), OutOfBoundsException);
    EXPECT_THROW(dictionary.Key(1), OutOfBoundsException);
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"One"}));
}

TEST(DictionaryTest, RemovalMovesLaterKeysUp) {
    Dictionary dictionary{{"A", "1"}, {"B", "2"}, {"C", "3"}, {"D", "4"}};
    dictionary.Remove("b");
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"A", "C", "D"}));
    EXPECT_FALSE(dictionary.HasKey("B"));

    // The keys behind the removed one must still reach their own entries.
    EXPECT_EQ(dictionary.Value("C").Bytes(), "3");
    dictionary.SetValue("d", "changed");
    dictionary.SetValue("b", "back");
    EXPECT_EQ(Keys(dictionary), (std::vector<std::string>{"A", "C", "D", "b"}));
    EXPECT_EQ(dictionary.Value("D").Bytes(), "changed");
}

}  // namespace
}  // namespace qv
