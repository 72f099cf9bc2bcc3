#pragma once

#include "base/KeyValueStore.h"

namespace vigilmoth {

// The macOS user-defaults store: the application's CFPreferences domain.
class CFPreferencesKeyValueStore final : public KeyValueStore {
public:
    std::optional<nlohmann::json> value(const std::string& key) const override;
    void set(const std::string& key, const nlohmann::json& value) override;
    void remove(const std::string& key) override;
};

}  // namespace vigilmoth
