#pragma once

#include <algorithm>
#include <limits>
#include <map>

#include "evidence/StateReport.h"
#include "platform/posix/SystemFileAccess.h"

namespace vigilmoth::testing {

// The real file access, counting what the readers ask of it: status calls, reads, the bytes
// read and, per file, the lowest offset read; and the files removed.
class CountingFileAccess final : public FileAccessing {
public:
    std::optional<FileSignature> signature(const std::string& path) override {
        ++signatures;
        return system_.signature(path);
    }
    std::optional<std::vector<FolderEntry>> list(const std::string& folder) override {
        return system_.list(folder);
    }
    std::optional<std::string> read(const std::string& path, std::uint64_t offset,
                                    std::uint64_t length) override {
        ++reads;
        auto bytes = system_.read(path, offset, length);
        if (bytes) {
            bytesRead += bytes->size();
            auto [lowest, added] = lowestOffset.emplace(path, offset);
            if (!added) lowest->second = std::min(lowest->second, offset);
        }
        return bytes;
    }
    std::optional<std::string> resolved(const std::string& path) override {
        return system_.resolved(path);
    }
    bool remove(const std::string& path) override {
        removed.push_back(path);
        return system_.remove(path);
    }
    bool createFolders(const std::string& path) override { return system_.createFolders(path); }

    void reset() { *this = CountingFileAccess(); }

    int signatures = 0;
    int reads = 0;
    std::uint64_t bytesRead = 0;
    std::map<std::string, std::uint64_t> lowestOffset;
    std::vector<std::string> removed;

private:
    SystemFileAccess system_;
};

// The first `count` lines of `text`, each with its line feed.
inline std::string firstLines(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    for (std::size_t line = 0; line < count; ++line) {
        std::size_t next = text.find('\n', end);
        if (next == std::string::npos) return text;
        end = next + 1;
    }
    return text.substr(0, end);
}

// A report as a person would say it: "nothing", "idle", or "working: " and its detail.
inline std::string described(const std::optional<StateReport>& report) {
    if (!report) return "nothing";
    if (report->state == ReportedState::idle) return "idle";
    if (report->state == ReportedState::waitingForUser) return "waiting";
    return "working: " + report->detail.value_or("");
}

}  // namespace vigilmoth::testing
