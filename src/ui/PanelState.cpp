#include "ui/PanelState.h"

#include "power/SafetyMonitor.h"
#include "ui/PanelText.h"

namespace vigilmoth {

namespace {

// After a stop for a low battery, vigilmoth starts again only this far above the floor.
int recovery(int floor) {
    return floor + SafetyMonitor::kHysteresis;
}

}  // namespace

std::string PanelBattery::consequence() const {
    if (!floor) return "no battery limit";
    if (level == Level::stopped) return "starts again at " + PanelText::percent(recovery(*floor));
    return "sleeps at " + PanelText::percent(*floor);
}

std::string PanelBattery::accessibilityLabel(MachineWord machine) const {
    if (!floor) return "Battery " + std::to_string(percent) + " percent, no battery limit";
    if (level == Level::stopped) return PanelText::batterySpokenStopped(percent, recovery(*floor));
    return PanelText::batterySpoken(percent, *floor, machine);
}

}  // namespace vigilmoth
