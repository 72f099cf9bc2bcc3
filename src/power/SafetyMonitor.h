#pragma once

#include <optional>
#include <set>

#include "power/SafetyStop.h"

namespace vigilmoth {

// One sample's power facts, from the frame's context.
struct SafetyInputs {
    std::optional<int> percent;
    bool onBattery = false;
    int thermalState = 0;  // 0 nominal, 1 fair, 2 serious, 3 critical
    bool charging = false;
};

// Notices a charger too weak to keep up: on mains, a level that falls by more than a point
// from where it was last seen rising.
struct PowerDrain {
    bool draining = false;
    std::optional<int> reference;
    std::optional<int> last;

    bool operator==(const PowerDrain&) const = default;
};

// The battery and heat limits that override every reason to hold the machine awake.
class SafetyMonitor {
public:
    // Once in force, the battery limit stays until the level has risen this far above the floor.
    static constexpr int kHysteresis = 5;

    int batteryFloorPercent = 20;
    bool batteryFloorEnabled = true;

    std::optional<SafetyStop> update(const SafetyInputs& inputs, bool afterGap);

    bool batteryStopped() const { return batteryStopped_; }
    const PowerDrain& drain() const { return drain_; }

private:
    void trackDrain(const SafetyInputs& inputs, bool afterGap);
    bool limitApplies(const SafetyInputs& inputs) const;

    bool batteryStopped_ = false;
    PowerDrain drain_;
};

// Warns twice, at 10 and at 5 percent, while the battery limit is switched off and the keeper
// holds the machine on a falling battery.
class NoLimitBatteryWarning {
public:
    // The percent to announce, or nothing.
    std::optional<int> update(const SafetyInputs& inputs, bool drainingOnPower, bool floorEnabled,
                              bool holding);

private:
    std::set<int> told_;
};

}  // namespace vigilmoth
