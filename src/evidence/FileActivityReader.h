#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Date.h"
#include "evidence/FileAccessing.h"

namespace vigilmoth {

struct FileSnapshot {
    std::string path;
    std::uint64_t size = 0;
    Date modifiedAt;

    bool operator==(const FileSnapshot&) const = default;
};

// What changed in a set of files between two polls.
struct FileActivity {
    std::optional<Date> newestModification;
    // Total current size minus total previous size.
    std::int64_t sizeDelta = 0;
    // Files new or changed since the previous poll, in snapshot order.
    std::vector<std::string> changedPaths;

    bool operator==(const FileActivity&) const = default;
};

// For agents that tell nothing of themselves but write files while they work: which of their
// files changed since the last poll.
class FileActivityReader {
public:
    // The files to look at: given paths, and the names in folders that match a pattern
    // ("*" for any run of characters, "?" for one).
    struct Target {
        struct Folder {
            std::string path;
            std::vector<std::string> patterns;

            bool operator==(const Folder&) const = default;
        };
        std::vector<std::string> paths;
        std::vector<Folder> folders;

        bool operator==(const Target&) const = default;
    };

    // opencode's database and its write-ahead log.
    static Target opencode(const std::string& home);
    // Antigravity's conversation databases and the write-ahead logs beside them, in the
    // folders of the editor, the IDE and the command-line tool.
    static Target antigravity(const std::string& home);

    explicit FileActivityReader(Target target) : target_(std::move(target)) {}

    static std::vector<FileSnapshot> snapshot(FileAccessing& files, const Target& target);
    static FileActivity activity(const std::optional<std::vector<FileSnapshot>>& previous,
                                 const std::vector<FileSnapshot>& current);
    static bool matches(std::string_view pattern, std::string_view name);

    // Takes a snapshot, compares it with the last one and keeps it. The first poll reports
    // no change: first sight of the files is not activity.
    FileActivity poll(FileAccessing& files);

    const Target& target() const { return target_; }

private:
    Target target_;
    std::optional<std::vector<FileSnapshot>> previous_;
};

}  // namespace vigilmoth
