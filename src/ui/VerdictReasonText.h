#pragma once

#include <string>

#include "decision/VerdictReason.h"
#include "ui/MachineWord.h"

namespace vigilmoth::VerdictReasonText {

// The reason as the panel shows it under the agent's name: "Running 3 commands".
std::string text(const VerdictReason& reason, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::VerdictReasonText
