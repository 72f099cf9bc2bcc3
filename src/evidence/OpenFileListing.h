#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vigilmoth {

// What a process has open: the collector attributes Codex rollouts by the files a Codex process
// holds, and Claude transcripts by the directory a session runs in.
class OpenFileListing {
public:
    virtual ~OpenFileListing() = default;
    // The paths of the regular files the process has open; empty when they cannot be read.
    virtual std::vector<std::string> openFilePaths(std::int32_t pid) = 0;
    // The process's current directory; nothing when it cannot be read.
    virtual std::optional<std::string> workingDirectory(std::int32_t pid) = 0;
};

}  // namespace vigilmoth
