#pragma once

#include <functional>

namespace vigilmoth {

enum class SleepNotice { willSleep, didWake };

// The system's notices around a sleep, for the detection engine's wake gate and the state
// aggregator. A will-sleep handler runs before the system is let go to sleep, so that what it
// does (noting the moment, putting the display back) is done before the machine sleeps.
class SleepNoticing {
public:
    virtual ~SleepNoticing() = default;
    // Replaces the handler; it runs on the main loop.
    virtual void onNotice(std::function<void(SleepNotice)> handler) = 0;
};

}  // namespace vigilmoth
