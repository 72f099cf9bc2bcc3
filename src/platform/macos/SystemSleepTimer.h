#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <optional>

// The system's own idle-sleep timer for the current power source, in minutes, for the panel's
// outlook; nothing when it cannot be read.
namespace vigilmoth::SystemSleepTimer {

std::optional<int> sleepTimerMinutes(bool onBattery);

}  // namespace vigilmoth::SystemSleepTimer
