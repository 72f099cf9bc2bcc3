#pragma once

#include <string>

#include "hooks/runtime/HookStateStoring.h"
#include "platform/posix/FileDescriptor.h"

namespace vigilmoth {

// The hook state folder on disk. Names are looked up relative to the open folder and never
// through a symbolic link, so a link planted under a state file's name is replaced, not
// followed; the folder itself may be a link (VIGILMOTH_HOOKS_DIR often points through one).
class SystemHookStateStore final : public HookStateStoring {
public:
    explicit SystemHookStateStore(std::string folder);

    bool lock() override;
    void unlock() override;
    std::optional<std::string> read(const std::string& name) override;
    bool replace(const std::string& name, const std::string& text) override;

private:
    bool writeTemporary(const std::string& name, const std::string& text);

    std::string folder_;
    FileDescriptor directory_;
};

}  // namespace vigilmoth
