#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>

#include "foundation/String.h"
#include "foundation/TextTable.h"

namespace qv {

// A map from text keys to text values. Keys compare with ASCII letter case
// ignored, as everywhere in the system, and keep the spelling and position of
// their first insertion. Key(index) walks the keys in insertion order, which
// a form relies on to be encoded in the order it was filled.
class Dictionary {
public:
    Dictionary() = default;
    Dictionary(std::initializer_list<std::pair<String, String>> pairs);

    std::int32_t Count() const { return table_.Count(); }
    bool HasKey(const String& key) const;

    // The key at a position from 0; OutOfBoundsException outside 0 to Count - 1.
    String Key(std::int32_t index) const;

    // KeyNotFoundException for a missing key.
    String Value(const String& key) const;
    String Lookup(const String& key, const String& fallback) const;

    // Replaces the value of an existing key in place; appends a new key.
    void SetValue(const String& key, const String& value);

    // KeyNotFoundException for a missing key. Later keys move up one position.
    void Remove(const String& key);

private:
    TextTable table_;
};

}  // namespace qv
