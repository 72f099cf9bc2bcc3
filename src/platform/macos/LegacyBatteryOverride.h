#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "base/KeyValueStore.h"

// Clears what an older version left: its battery override of sleep, once at start.
namespace vigilmoth::LegacyBatteryOverride {

void clearLeftover(KeyValueStore& defaults);

}  // namespace vigilmoth::LegacyBatteryOverride
