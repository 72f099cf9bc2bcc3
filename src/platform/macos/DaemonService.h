#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "power/SleepFlagHelper.h"

namespace vigilmoth {

// The privileged helper's registration as a launch daemon through the service management
// framework; its property list lies in the bundle's Contents/Library/LaunchDaemons.
class DaemonService final : public HelperServiceManaging {
public:
    HelperStatus status() override;
    std::optional<std::string> registerService() override;
    std::optional<std::string> unregisterService() override;
};

}  // namespace vigilmoth
