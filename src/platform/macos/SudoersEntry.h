#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "power/SleepFlagHelper.h"

namespace vigilmoth {

// The admin entry an older version left in /etc/sudoers.d, removed with the user's password.
class SudoersEntry final : public SudoersCleaning {
public:
    static constexpr const char* kPath = "/etc/sudoers.d/vigilmoth";
    bool present() const override;
    void remove() override;
};

}  // namespace vigilmoth
