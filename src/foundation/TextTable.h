#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/CompactText.h"
#include "foundation/String.h"

namespace qv {

// Text keys to text values, in the order the keys were first set. Keys compare
// under FoldCase and keep the spelling they were first set with. The storage
// under Dictionary and a header block's table, which a server can make
// millions of entries long: an entry is two CompactTexts (32 bytes), and the
// index an open-addressing array of 32-bit entry numbers, at most half full.
class TextTable {
public:
    std::int32_t Count() const { return static_cast<std::int32_t>(count_); }

    // By position from 0 in order; OutOfBoundsException outside 0 to Count - 1.
    // Not while a removal has left a gap (see Remove).
    const CompactText& KeyAt(std::int32_t position) const;
    const CompactText& ValueAt(std::int32_t position) const;

    // The value of `key`, or null.
    const CompactText* Find(std::string_view key) const;

    // Replaces the value of an existing key in place; appends a new key.
    // Either text may lie in this table.
    void Set(TextRef key, TextRef value);
    // Appends the key unless it is present; false when it was.
    bool Add(TextRef key, TextRef value);

    // False when the key is absent. The entry leaves a gap that positions do
    // not skip until CloseGaps: a run of removals costs one pass, not one each.
    bool Remove(std::string_view key);
    void CloseGaps();

    // Empties the table. Texts that lie within `block` are kept from then on
    // as views into it, which the table holds until the next Reset.
    void Reset(const String& block = String());

private:
    struct Entry {
        CompactText key;
        CompactText value;
    };

    // The slot that holds `key`, or the free slot where it would go.
    std::size_t SlotOf(std::string_view key) const;
    // The same, with room made for one more entry.
    std::size_t SlotForNew(std::string_view key);
    void Append(std::size_t slot, TextRef key, CompactText value);
    const Entry& At(std::int32_t position) const;
    void Rehash(std::size_t entries);
    bool Kept(std::string_view bytes) const;

    std::vector<Entry> entries_;  // removed ones vacant until CloseGaps
    std::vector<std::uint32_t> slots_;  // an entry's number + 1; 0 is free
    std::size_t count_ = 0;
    String kept_;
};

}  // namespace qv
