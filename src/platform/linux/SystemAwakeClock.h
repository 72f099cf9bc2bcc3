#pragma once

#include "base/AwakeClock.h"

namespace vigilmoth::SystemAwakeClock {

// CLOCK_MONOTONIC, which stops while the computer is suspended.
double awake();
// CLOCK_BOOTTIME, which runs through suspend, less the awake time.
double asleep();
AwakeClock clock();

}  // namespace vigilmoth::SystemAwakeClock
