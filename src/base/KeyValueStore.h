#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace vigilmoth {

// The user-defaults store behind every setting. Values are JSON values so that booleans,
// numbers, strings, data and nested records keep their type across a save and a load.
class KeyValueStore {
public:
    virtual ~KeyValueStore() = default;

    virtual std::optional<nlohmann::json> value(const std::string& key) const = 0;
    virtual void set(const std::string& key, const nlohmann::json& value) = 0;
    virtual void remove(const std::string& key) = 0;

    std::optional<bool> boolValue(const std::string& key) const;
    std::optional<double> numberValue(const std::string& key) const;
    std::optional<std::string> stringValue(const std::string& key) const;
};

// For tests and for runs that must leave the user's settings alone (the lab, the smoke test).
class MemoryKeyValueStore final : public KeyValueStore {
public:
    std::optional<nlohmann::json> value(const std::string& key) const override;
    void set(const std::string& key, const nlohmann::json& value) override;
    void remove(const std::string& key) override;

private:
    mutable std::mutex mutex_;
    std::map<std::string, nlohmann::json> values_;
};

}  // namespace vigilmoth
