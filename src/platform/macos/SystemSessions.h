#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "evidence/RemoteAccessDetector.h"

namespace vigilmoth {

// The user's sessions on macOS: the login records and the process table.
class SystemSessions final : public SessionProbing {
public:
    // A login of the user from another host is recorded, or a terminal of the user is under
    // sshd.
    bool remoteAccessActive(const std::vector<ProcessInfoRow>& processes) override;
    std::optional<std::string> terminalName(std::int32_t device) override;
};

}  // namespace vigilmoth
