#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "state/LoginItem.h"

namespace vigilmoth {

// vigilmoth itself as the service that opens at login (the main application's service).
class SystemLoginItem final : public LoginItemManaging {
public:
    Status status() override;
    std::optional<std::string> registerItem() override;
    std::optional<std::string> unregisterItem() override;
};

}  // namespace vigilmoth
