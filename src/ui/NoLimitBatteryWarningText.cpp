#include "ui/NoLimitBatteryWarningText.h"

#include "ui/PanelText.h"

namespace vigilmoth::NoLimitBatteryWarningText {

std::string notification(int percent, MachineWord machine) {
    return "The battery is at " + PanelText::percent(percent) + ". vigilmoth keeps your " +
           std::string(machine.noun) + " awake because the battery limit is off.";
}

}  // namespace vigilmoth::NoLimitBatteryWarningText
