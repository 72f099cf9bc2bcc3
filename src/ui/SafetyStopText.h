#pragma once

#include <string>

#include "base/MachineWord.h"
#include "power/SafetyStop.h"

namespace vigilmoth::SafetyStopText {

// The notification posted when the stop lets the machine sleep.
std::string notification(const SafetyStop& stop, MachineWord machine = kMachineWord);
// The menu bar's headline while the stop holds.
std::string headline(const SafetyStop& stop, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::SafetyStopText
