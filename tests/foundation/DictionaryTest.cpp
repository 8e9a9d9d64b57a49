#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/Exceptions.h"

namespace qv {
namespace {

// What a Dictionary must behave as: a plain list of pairs searched from the front.
using PlainList = std::vector<std::pair<String, String>>;

void ExpectSame(const Dictionary& table, const PlainList& list, int when) {
    ASSERT_EQ(table.Count(), static_cast<std::int32_t>(list.size())) << when;
    for (std::int32_t i = 0; i < table.Count(); ++i) {
        const auto& [key, value] = list[static_cast<std::size_t>(i)];
        ASSERT_EQ(table.Key(i).Bytes(), key.Bytes()) << when << ", position " << i;
        ASSERT_EQ(table.Value(key).Bytes(), value.Bytes()) << when << ", key " << key.Bytes();
        ASSERT_EQ(table.Value(key).GetEncoding(), value.GetEncoding()) << when << ", key " << key.Bytes();
    }
    EXPECT_THROW(table.Key(table.Count()), OutOfBoundsException) << when;
    EXPECT_THROW(table.Key(-1), OutOfBoundsException) << when;
}

// Thousands of changes that grow the table past several capacities, remove
// keys and set them again, with keys that differ only in letter case, the
// empty key, and texts short enough to be kept inline and far too long.
TEST(DictionaryTest, AgreesWithAPlainListThroughGrowthRemovalAndReinsertion) {
    Dictionary table, copy;
    PlainList list, listAtCopy;
    for (int change = 0; change < 6000; ++change) {
        const int n = change * 7919 % 401;
        std::string name = n == 0 ? "" : (n % 2 ? "a key too long to be kept inline, number " : "key-") + std::to_string(n);
        if (change % 3 == 1) std::ranges::transform(name, name.begin(), [](char c) { return c == 'k' ? 'K' : c; });
        const String key(name);
        const auto find = [&] { return std::ranges::find_if(list, [&](const auto& pair) { return SameText(pair.first, key); }); };
        const auto found = find();
        if (change % 4 == 3) {
            if (found == list.end()) {
                EXPECT_THROW(table.Remove(key), KeyNotFoundException) << name;
            } else {
                list.erase(found);
                table.Remove(key);
            }
        } else {
            // Long ones of up to 128 KiB, whose sizes take one to three bytes.
            const String value(change % 5 ? "v" + std::to_string(change) : std::string(std::size_t{1} << (change % 18), 'w'),
                               change % 3 ? Encoding::None : Encoding::UTF8);
            if (found == list.end()) {
                list.emplace_back(key, value);
            } else {
                found->second = value;
            }
            table.SetValue(key, value);
        }
        const auto now = find();
        EXPECT_EQ(table.HasKey(key), now != list.end()) << name;
        EXPECT_FALSE(table.HasKey("no such key")) << "a full table would never end this search";
        EXPECT_EQ(table.Lookup(key, "none").Bytes(), now != list.end() ? now->second.Bytes() : "none") << name;
        if (now == list.end()) {
            EXPECT_THROW(table.Value(key), KeyNotFoundException) << name;
        }
        if (change % 500 == 0) ExpectSame(table, list, change);
        if (change == 3000) copy = table, listAtCopy = list;
    }
    ExpectSame(table, list, 6000);
    ExpectSame(copy, listAtCopy, 3000);  // a copy, after the original changed on
}

}  // namespace
}  // namespace qv
