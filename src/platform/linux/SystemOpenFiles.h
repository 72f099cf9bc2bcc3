#pragma once

#include <string>

#include "evidence/OpenFileListing.h"

namespace vigilmoth {

// A process's open regular files and working directory, from /proc/<pid>/fd and
// /proc/<pid>/cwd (the /proc root is a parameter for tests).
class SystemOpenFiles final : public OpenFileListing {
public:
    explicit SystemOpenFiles(std::string procRoot = "/proc") : procRoot_(std::move(procRoot)) {}

    std::vector<std::string> openFilePaths(std::int32_t pid) override;
    std::optional<std::string> workingDirectory(std::int32_t pid) override;

private:
    std::string procRoot_;
};

}  // namespace vigilmoth
