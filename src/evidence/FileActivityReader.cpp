#include "evidence/FileActivityReader.h"

#include <algorithm>
#include <unordered_map>

namespace vigilmoth {

FileActivityReader::Target FileActivityReader::opencode(const std::string& home) {
    std::string folder = home + "/.local/share/opencode/";
    return Target{{folder + "opencode.db", folder + "opencode.db-wal"}, {}};
}

FileActivityReader::Target FileActivityReader::antigravity(const std::string& home) {
    Target target;
    for (const char* tool : {"antigravity", "antigravity-ide", "antigravity-cli"}) {
        target.folders.push_back(
            {home + "/.gemini/" + tool + "/conversations", {"*.db", "*.db-wal"}});
    }
    return target;
}

bool FileActivityReader::matches(std::string_view pattern, std::string_view name) {
    // Matching with backtracking to the last "*": linear enough for file names.
    std::size_t p = 0, n = 0, star = std::string_view::npos, resume = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            resume = n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::vector<FileSnapshot> FileActivityReader::snapshot(FileAccessing& files, const Target& target) {
    std::vector<FileSnapshot> snapshot;
    auto add = [&](const std::string& path) {
        if (auto signature = files.signature(path))
            snapshot.push_back({path, signature->size, signature->modifiedAt});
    };
    for (const auto& path : target.paths)
        add(path);
    for (const auto& folder : target.folders) {
        auto entries = files.list(folder.path);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            bool wanted =
                std::any_of(folder.patterns.begin(), folder.patterns.end(),
                            [&](const auto& pattern) { return matches(pattern, entry.name); });
            if (wanted && !entry.isFolder) add(folder.path + "/" + entry.name);
        }
    }
    std::sort(snapshot.begin(), snapshot.end(),
              [](const auto& a, const auto& b) { return a.path < b.path; });
    return snapshot;
}

FileActivity FileActivityReader::activity(const std::optional<std::vector<FileSnapshot>>& previous,
                                          const std::vector<FileSnapshot>& current) {
    FileActivity activity;
    for (const auto& file : current) {
        if (!activity.newestModification || file.modifiedAt > *activity.newestModification)
            activity.newestModification = file.modifiedAt;
    }
    if (!previous) return activity;
    std::unordered_map<std::string_view, const FileSnapshot*> before;
    std::int64_t previousSize = 0, currentSize = 0;
    for (const auto& file : *previous) {
        before.emplace(file.path, &file);
        previousSize += static_cast<std::int64_t>(file.size);
    }
    for (const auto& file : current) {
        currentSize += static_cast<std::int64_t>(file.size);
        auto found = before.find(file.path);
        if (found == before.end() || found->second->size != file.size ||
            found->second->modifiedAt != file.modifiedAt) {
            activity.changedPaths.push_back(file.path);
        }
    }
    activity.sizeDelta = currentSize - previousSize;
    return activity;
}

FileActivity FileActivityReader::poll(FileAccessing& files) {
    auto current = snapshot(files, target_);
    auto result = activity(previous_, current);
    previous_ = std::move(current);
    return result;
}

}  // namespace vigilmoth
