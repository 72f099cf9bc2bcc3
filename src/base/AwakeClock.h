#pragma once

#include <functional>

namespace vigilmoth {

// Time since boot on two clocks, in seconds: `awake` stops while the machine sleeps, `asleep`
// is the time spent asleep (never negative). Comparing them tells a sleep from a stall.
struct AwakeClock {
    std::function<double()> awake;
    std::function<double()> asleep;
};

}  // namespace vigilmoth
