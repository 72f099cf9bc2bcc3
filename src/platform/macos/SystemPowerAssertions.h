#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <optional>

#include "evidence/PowerContextReading.h"

namespace vigilmoth {

// Which processes hold sleep assertions of their own, for the evidence collector.
class SystemPowerAssertions final : public PowerAssertionListing {
public:
    std::set<int> assertingPIDs() override;
};

// The system's own idle-sleep timer for the current power source, in minutes, for the panel's
// outlook; nothing when it cannot be read.
namespace SystemSleepTimer {
std::optional<int> sleepTimerMinutes(bool onBattery);
}

}  // namespace vigilmoth
