#pragma once

#include <string>

#include "base/MachineWord.h"
#include "decision/VerdictReason.h"

namespace vigilmoth::VerdictReasonText {

// The reason as the panel shows it under the agent's name: "Running 3 commands".
std::string text(const VerdictReason& reason, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::VerdictReasonText
