#include "foundation/TextTable.h"

#include <bit>
#include <cassert>
#include <functional>

#include "foundation/Exceptions.h"

namespace qv {

namespace {

constexpr std::size_t kLeastSlots = 8;

// FNV-1a over the folded bytes, spread by a Fibonacci multiplication so that
// the top bits, which pick the slot, depend on every byte.
std::size_t HomeSlot(std::string_view key, std::size_t slots) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : key) {
        hash ^= static_cast<unsigned char>(FoldCase(c));
        hash *= 0x100000001B3;
    }
    return static_cast<std::size_t>((hash * 0x9E3779B97F4A7C15) >> (64 - std::countr_zero(slots)));
}

}  // namespace

const TextTable::Entry& TextTable::At(std::int32_t position) const {
    assert(count_ == entries_.size() && "a removal's gap is still open");
    if (position < 0 || position >= Count()) throw OutOfBoundsException();
    return entries_[static_cast<std::size_t>(position)];
}

const CompactText& TextTable::KeyAt(std::int32_t position) const {
    return At(position).key;
}

const CompactText& TextTable::ValueAt(std::int32_t position) const {
    return At(position).value;
}

// Probing passes over the slots of removed entries until CloseGaps drops them;
// the index is at most half full, so a free slot always ends the search.
std::size_t TextTable::SlotOf(std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = HomeSlot(key, slots_.size());; slot = (slot + 1) & mask) {
        const std::uint32_t entry = slots_[slot];
        if (entry == 0) return slot;
        const CompactText& stored = entries_[entry - 1].key;
        if (!stored.IsVacant() && EqualIgnoringCase(stored.Bytes(), key)) return slot;
    }
}

const CompactText* TextTable::Find(std::string_view key) const {
    if (count_ == 0) return nullptr;
    const std::uint32_t entry = slots_[SlotOf(key)];
    return entry == 0 ? nullptr : &entries_[entry - 1].value;
}

std::size_t TextTable::SlotForNew(std::string_view key) {
    if ((entries_.size() + 1) * 2 > slots_.size()) Rehash(entries_.size() + 1);
    return SlotOf(key);
}

void TextTable::Append(std::size_t slot, TextRef key, CompactText value) {
    entries_.push_back({CompactText(key, Kept(key.bytes)), std::move(value)});
    slots_[slot] = static_cast<std::uint32_t>(entries_.size());
    ++count_;
}

// The texts are copied before anything moves, since either may lie in this table.
void TextTable::Set(TextRef key, TextRef value) {
    CompactText stored(value, Kept(value.bytes));
    const std::size_t slot = SlotForNew(key.bytes);
    if (slots_[slot] != 0) {
        entries_[slots_[slot] - 1].value = std::move(stored);
    } else {
        Append(slot, key, std::move(stored));
    }
}

bool TextTable::Add(TextRef key, TextRef value) {
    const std::size_t slot = SlotForNew(key.bytes);
    if (slots_[slot] != 0) return false;
    Append(slot, key, CompactText(value, Kept(value.bytes)));
    return true;
}

bool TextTable::Remove(std::string_view key) {
    if (count_ == 0) return false;
    const std::uint32_t entry = slots_[SlotOf(key)];
    if (entry == 0) return false;
    entries_[entry - 1] = {CompactText::Vacant(), CompactText()};
    --count_;
    return true;
}

void TextTable::CloseGaps() {
    if (count_ == entries_.size()) return;
    std::erase_if(entries_, [](const Entry& entry) { return entry.key.IsVacant(); });
    Rehash(entries_.size());
}

void TextTable::Reset(const String& block) {
    entries_ = std::vector<Entry>();
    slots_ = std::vector<std::uint32_t>();
    count_ = 0;
    kept_ = block;
}

void TextTable::Rehash(std::size_t entries) {
    std::size_t slots = kLeastSlots;
    while (slots < entries * 2) slots *= 2;
    slots_.assign(slots, 0);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (!entries_[i].key.IsVacant()) slots_[SlotOf(entries_[i].key.Bytes())] = static_cast<std::uint32_t>(i + 1);
    }
}

bool TextTable::Kept(std::string_view bytes) const {
    const std::string_view block = kept_.Bytes();
    const std::less_equal<const char*> notAfter;
    return !bytes.empty() && !block.empty() && notAfter(block.data(), bytes.data()) &&
           notAfter(bytes.data() + bytes.size(), block.data() + block.size());
}

}  // namespace qv
