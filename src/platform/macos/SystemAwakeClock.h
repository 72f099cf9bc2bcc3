#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "base/AwakeClock.h"

namespace vigilmoth::SystemAwakeClock {

// mach_absolute_time, which stops while the Mac sleeps.
double awake();
// mach_continuous_time, which runs through sleep, less the awake time.
double asleep();
AwakeClock clock();

}  // namespace vigilmoth::SystemAwakeClock
