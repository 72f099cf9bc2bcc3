#include "base/KeyValueStore.h"

namespace vigilmoth {

std::optional<bool> KeyValueStore::boolValue(const std::string& key) const {
    auto stored = value(key);
    if (!stored || !stored->is_boolean()) return std::nullopt;
    return stored->get<bool>();
}

std::optional<double> KeyValueStore::numberValue(const std::string& key) const {
    auto stored = value(key);
    if (!stored || !stored->is_number()) return std::nullopt;
    return stored->get<double>();
}

std::optional<std::string> KeyValueStore::stringValue(const std::string& key) const {
    auto stored = value(key);
    if (!stored || !stored->is_string()) return std::nullopt;
    return stored->get<std::string>();
}

std::optional<nlohmann::json> MemoryKeyValueStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void MemoryKeyValueStore::set(const std::string& key, const nlohmann::json& value) {
    std::lock_guard lock(mutex_);
    values_[key] = value;
}

void MemoryKeyValueStore::remove(const std::string& key) {
    std::lock_guard lock(mutex_);
    values_.erase(key);
}

}  // namespace vigilmoth
