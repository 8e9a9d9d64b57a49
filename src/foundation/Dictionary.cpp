#include "foundation/Dictionary.h"

#include "foundation/Exceptions.h"

namespace qv {

Dictionary::Dictionary(std::initializer_list<std::pair<String, String>> pairs) {
    for (const auto& [key, value] : pairs) SetValue(key, value);
}

bool Dictionary::HasKey(const String& key) const {
    return table_.Find(key.Bytes()) != nullptr;
}

String Dictionary::Key(std::int32_t index) const {
    return table_.KeyAt(index).ToString();
}

String Dictionary::Value(const String& key) const {
    const CompactText* value = table_.Find(key.Bytes());
    if (!value) throw KeyNotFoundException();
    return value->ToString();
}

String Dictionary::Lookup(const String& key, const String& fallback) const {
    const CompactText* value = table_.Find(key.Bytes());
    return value ? value->ToString() : fallback;
}

void Dictionary::SetValue(const String& key, const String& value) {
    table_.Set(key, value);
}

void Dictionary::Remove(const String& key) {
    if (!table_.Remove(key.Bytes())) throw KeyNotFoundException();
    table_.CloseGaps();
}

}  // namespace qv
