#pragma once

#include <string>

#include "base/MachineWord.h"

namespace vigilmoth::NoLimitBatteryWarningText {

// Posted when `NoLimitBatteryWarning` announces a percent: the battery limit is off and vigilmoth
// holds the machine on a falling battery.
std::string notification(int percent, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::NoLimitBatteryWarningText
