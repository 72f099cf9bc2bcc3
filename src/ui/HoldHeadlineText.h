#pragma once

#include <optional>
#include <string>

#include "base/MachineWord.h"
#include "decision/HoldHeadline.h"

namespace vigilmoth::HoldHeadlineText {

// The words after "Awake: "; absent for the cases that let the machine sleep.
std::optional<std::string> awakeReason(const HoldHeadline& headline);
// The menu bar's line: "Awake: Codex is working", "Mac can sleep: all agents are idle".
std::string text(const HoldHeadline& headline, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::HoldHeadlineText
