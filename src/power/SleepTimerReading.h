#pragma once

#include <functional>
#include <optional>

namespace vigilmoth {

// The system's own idle-sleep timer, for the outlook of what happens when vigilmoth lets go.
class SleepTimerReading {
public:
    virtual ~SleepTimerReading() = default;
    // Reads the minutes for one power source away from the main loop (the read can be slow) and
    // answers on the main loop; nothing when the timer cannot be read.
    virtual void read(bool onBattery, std::function<void(std::optional<int> minutes)> done) = 0;
};

}  // namespace vigilmoth
