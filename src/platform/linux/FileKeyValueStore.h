#pragma once

#include <mutex>
#include <string>

#include "base/KeyValueStore.h"

namespace vigilmoth {

// The Linux user-defaults store: one JSON object in a file. Every change re-reads the file
// under an exclusive lock and replaces it by rename, so a crash leaves the old or the new
// file whole, and two processes changing different keys both keep their change.
class FileKeyValueStore final : public KeyValueStore {
public:
    explicit FileKeyValueStore(std::string path);

    // The store of this user: "defaults.json" in the configuration folder.
    static std::string defaultPath();

    std::optional<nlohmann::json> value(const std::string& key) const override;
    void set(const std::string& key, const nlohmann::json& value) override;
    void remove(const std::string& key) override;

    const std::string& path() const { return path_; }

private:
    void change(const std::string& key, const std::optional<nlohmann::json>& value);

    std::string path_;
    mutable std::mutex mutex_;
};

}  // namespace vigilmoth
