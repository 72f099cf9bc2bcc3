#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "evidence/OpenFileListing.h"

namespace vigilmoth {

// A process's open regular files and current folder, from libproc.
class SystemOpenFiles final : public OpenFileListing {
public:
    std::vector<std::string> openFilePaths(std::int32_t pid) override;
    std::optional<std::string> workingDirectory(std::int32_t pid) override;
};

}  // namespace vigilmoth
