#pragma once

#include "hooks/install/HookFileAccessing.h"

namespace vigilmoth {

// The real file system through the standard library, which covers both platforms alike.
class SystemHookFileAccess : public HookFileAccessing {
public:
    FileContents read(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    std::string resolved(const std::string& path) override;
    bool isWritable(const std::string& path) override;
    bool write(const std::string& path, const std::string& bytes) override;
    bool remove(const std::string& path) override;
    bool createDirectories(const std::string& path) override;
    std::optional<unsigned> permissions(const std::string& path) override;
    void setPermissions(const std::string& path, unsigned permissions) override;
    std::vector<std::string> list(const std::string& folder) override;
};

}  // namespace vigilmoth
