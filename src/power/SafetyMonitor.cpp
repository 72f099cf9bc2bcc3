#include "power/SafetyMonitor.h"

namespace vigilmoth {

void SafetyMonitor::trackDrain(const SafetyInputs& inputs, bool afterGap) {
    if (!inputs.percent || inputs.onBattery) {
        drain_ = PowerDrain{};
        return;
    }
    const int level = *inputs.percent;
    // While the limit holds on a draining charger, the drain is kept until the level recovers.
    const bool heldByDrain = batteryStopped_ && drain_.draining;
    if (afterGap) {
        // The level may have moved during the gap, so it is measured afresh.
        if (!heldByDrain) drain_ = PowerDrain{false, level, drain_.last};
    } else if (!drain_.reference || !drain_.last) {
        drain_.reference = level;
    } else if (level > *drain_.last) {
        if (!heldByDrain) {
            drain_.reference = level;
            drain_.draining = false;
        }
    } else if (*drain_.reference - level > 1) {
        drain_.draining = true;
    }
    drain_.last = level;
}

bool SafetyMonitor::limitApplies(const SafetyInputs& inputs) const {
    if (!batteryFloorEnabled || !inputs.percent) return false;
    if (!inputs.onBattery && !drain_.draining) return false;
    const int level = *inputs.percent;
    return batteryStopped_ ? level < batteryFloorPercent + kHysteresis
                           : level <= batteryFloorPercent;
}

std::optional<SafetyStop> SafetyMonitor::update(const SafetyInputs& inputs, bool afterGap) {
    trackDrain(inputs, afterGap);
    const bool applies = limitApplies(inputs);
    std::optional<SafetyStop> stop;
    if (inputs.thermalState >= 2) {
        stop = SafetyStop::tooHot();
    } else if (applies) {
        stop = inputs.onBattery ? SafetyStop::batteryLow(*inputs.percent)
                                : SafetyStop::weakCharger(*inputs.percent);
    }
    if (batteryStopped_ && !applies) {
        drain_.draining = false;
        if (inputs.onBattery || !inputs.percent) {
            drain_.reference.reset();
            drain_.last.reset();
        } else {
            drain_.reference = drain_.last = inputs.percent;
        }
    }
    batteryStopped_ = applies;
    return stop;
}

std::optional<int> NoLimitBatteryWarning::update(const SafetyInputs& inputs, bool drainingOnPower,
                                                 bool floorEnabled, bool holding) {
    const bool falling = inputs.onBattery || drainingOnPower;
    if (floorEnabled || !inputs.percent || *inputs.percent >= 16 || !falling) {
        told_.clear();
        return std::nullopt;
    }
    const int level = *inputs.percent;
    if (!holding) return std::nullopt;
    std::set<int> reached;
    if (level <= 10) reached.insert(10);
    if (level <= 5) reached.insert(5);
    bool fresh = false;
    for (const int warning : reached)
        fresh = told_.insert(warning).second || fresh;
    return fresh ? std::optional<int>(level) : std::nullopt;
}

}  // namespace vigilmoth
