#pragma once

#include <sys/types.h>

#include <ctime>
#include <mutex>
#include <optional>
#include <string>

#include "base/KeyValueStore.h"

namespace vigilmoth {

// The Linux user-defaults store: one JSON object in a file. Every change re-reads the file
// under an exclusive lock and replaces it by rename, so a crash leaves the old or the new
// file whole, and two processes changing different keys both keep their change. Reads come
// from memory while the file on disk is the one last read, so another process's change is
// still seen at the next read.
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
    // What tells one version of the file from another: a change replaces the file by rename
    // (another inode), and an editor's in-place write changes its size or time.
    struct Stamp {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec modified{};

        bool operator==(const Stamp& other) const;
    };

    void change(const std::string& key, const std::optional<nlohmann::json>& value);
    // The file's contents, read again only when it is not the file last read.
    const nlohmann::json& current() const;

    std::string path_;
    mutable std::mutex mutex_;
    // Absent until read; a read that found no file keeps no stamp.
    mutable std::optional<std::optional<Stamp>> readStamp_;
    mutable nlohmann::json contents_ = nlohmann::json::object();
};

}  // namespace vigilmoth
