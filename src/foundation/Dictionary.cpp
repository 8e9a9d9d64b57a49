#include "foundation/Dictionary.h"

#include "foundation/Exceptions.h"

namespace qv {

namespace {

std::string FoldedKey(const String& key) {
    std::string folded(key.Bytes());
    for (char& c : folded) c = FoldCase(c);
    return folded;
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<std::pair<String, String>> pairs) {
    for (const auto& [key, value] : pairs) SetValue(key, value);
}

const Dictionary::Entry* Dictionary::Find(const String& key) const {
    const auto found = positions_.find(FoldedKey(key));
    return found == positions_.end() ? nullptr : &entries_[found->second];
}

bool Dictionary::HasKey(const String& key) const {
    return Find(key) != nullptr;
}

String Dictionary::Key(std::int32_t index) const {
    if (index < 0 || index >= Count()) throw OutOfBoundsException();
    return entries_[static_cast<std::size_t>(index)].key;
}

String Dictionary::Value(const String& key) const {
    const Entry* entry = Find(key);
    if (!entry) throw KeyNotFoundException();
    return entry->value;
}

String Dictionary::Lookup(const String& key, const String& fallback) const {
    const Entry* entry = Find(key);
    return entry ? entry->value : fallback;
}

void Dictionary::SetValue(const String& key, const String& value) {
    const auto [slot, inserted] = positions_.try_emplace(FoldedKey(key), entries_.size());
    if (inserted) {
        entries_.push_back({key, value});
    } else {
        entries_[slot->second].value = value;
    }
}

void Dictionary::Remove(const String& key) {
    const auto found = positions_.find(FoldedKey(key));
    if (found == positions_.end()) throw KeyNotFoundException();
    const std::size_t removed = found->second;
    positions_.erase(found);
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(removed));
    for (auto& [folded, position] : positions_) {
        if (position > removed) --position;
    }
}

}  // namespace qv
