#pragma once

#include "evidence/FileAccessing.h"

namespace vigilmoth {

// The evidence readers' file operations on the real file system.
class SystemFileAccess final : public FileAccessing {
public:
    std::optional<FileSignature> signature(const std::string& path) override;
    std::optional<std::vector<FolderEntry>> list(const std::string& folder) override;
    std::optional<std::string> read(const std::string& path, std::uint64_t offset,
                                    std::uint64_t length) override;
    std::optional<std::string> resolved(const std::string& path) override;
    bool remove(const std::string& path) override;
    bool createFolders(const std::string& path) override;
};

}  // namespace vigilmoth
