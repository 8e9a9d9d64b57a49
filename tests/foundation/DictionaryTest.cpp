#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/Exceptions.h"

namespace qv {
namespace {

struct Pair {
    String key;
    String value;
};

// A plain list searched from the front: what a Dictionary must behave as.
class PlainList {
public:
    Pair* Find(const String& key) {
        for (Pair& pair : pairs_) {
            if (SameText(pair.key, key)) return &pair;
        }
        return nullptr;
    }
    void Set(const String& key, const String& value) {
        if (Pair* pair = Find(key)) {
            pair->value = value;
        } else {
            pairs_.push_back({key, value});
        }
    }
    bool Remove(const String& key) {
        const Pair* pair = Find(key);
        if (pair) pairs_.erase(pairs_.begin() + (pair - pairs_.data()));
        return pair != nullptr;
    }
    const std::vector<Pair>& Pairs() const { return pairs_; }

private:
    std::vector<Pair> pairs_;
};

void ExpectSame(const Dictionary& table, PlainList& list, const std::string& when) {
    ASSERT_EQ(table.Count(), static_cast<std::int32_t>(list.Pairs().size())) << when;
    for (std::int32_t i = 0; i < table.Count(); ++i) {
        const Pair& pair = list.Pairs()[static_cast<std::size_t>(i)];
        ASSERT_EQ(table.Key(i).Bytes(), pair.key.Bytes()) << when << ", position " << i;
        const String value = table.Value(pair.key);
        ASSERT_EQ(value.Bytes(), pair.value.Bytes()) << when << ", key " << pair.key.Bytes();
        ASSERT_EQ(value.GetEncoding(), pair.value.GetEncoding()) << when << ", key " << pair.key.Bytes();
    }
    EXPECT_THROW(table.Key(table.Count()), OutOfBoundsException) << when;
    EXPECT_THROW(table.Key(-1), OutOfBoundsException) << when;
}

// Thousands of changes that grow the table past several capacities, remove
// keys and set them again, with keys that differ only in letter case, the
// empty key, and texts short enough to be kept inline and far too long.
TEST(DictionaryTest, AgreesWithAPlainListThroughGrowthRemovalAndReinsertion) {
    std::uint64_t state = 0x9E3779B97F4A7C15;
    const auto below = [&state](std::uint64_t bound) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state % bound;
    };
    const auto anyCase = [&below](std::string text) {
        for (char& c : text) {
            if (below(2) == 0) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
        return String(text);
    };
    const auto someKey = [&] {
        const std::uint64_t n = below(400);
        if (n == 0) return String();
        return anyCase((n % 2 == 0 ? "key-" : "a key too long to be kept inline, number ") + std::to_string(n));
    };
    const auto someValue = [&] {
        // Long ones of up to 128 KiB, whose sizes take one to three bytes.
        const std::string text = below(2) == 0 ? "v" + std::to_string(below(100)) : std::string(1 << below(18), 'w');
        return String(text, below(3) == 0 ? Encoding::UTF8 : Encoding::None);
    };

    Dictionary table;
    PlainList list;
    Dictionary copy;
    PlainList listAtCopy;
    for (int change = 0; change < 6000; ++change) {
        const String key = someKey();
        if (below(3) == 0) {
            const bool present = list.Remove(key);
            if (present) {
                table.Remove(key);
            } else {
                EXPECT_THROW(table.Remove(key), KeyNotFoundException) << key.Bytes();
            }
        } else {
            const String value = someValue();
            list.Set(key, value);
            table.SetValue(key, value);
        }
        EXPECT_EQ(table.HasKey(key), list.Find(key) != nullptr) << key.Bytes();
        EXPECT_EQ(table.Lookup(key, "none").Bytes(), list.Find(key) ? list.Find(key)->value.Bytes() : "none");
        if (change % 500 == 0) ExpectSame(table, list, "after change " + std::to_string(change));
        if (change == 3000) {
            copy = table;
            listAtCopy = list;
        }
    }
    ExpectSame(table, list, "at the end");
    ExpectSame(copy, listAtCopy, "a copy, after the original changed on");
}

}  // namespace
}  // namespace qv
