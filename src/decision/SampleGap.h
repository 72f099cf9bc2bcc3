#pragma once

#include <optional>

#include "decision/AgentMemory.h"
#include "decision/HoldPolicy.h"
#include "evidence/EvidenceSample.h"

namespace vigilmoth {

// Time between two ticks that must count neither as activity nor as inactivity: the Mac
// slept, or the application stalled while the Mac was awake. The live engine and the lab
// replay both shift their memories by it, with these same constants.
namespace SampleGap {

// A difference of the two clocks beyond this is sleep rather than jitter.
inline constexpr double sleepTolerance = 1;
// Awake time between two ticks beyond this is a stall rather than a slow tick.
inline constexpr double stallThreshold = 15;

// The gap in seconds, or nothing when the ticks followed each other normally.
std::optional<double> length(const std::optional<SampleTime>& previous, const SampleTime& current);

// The memories with every date that vigilmoth set itself moved later by `seconds`.
void shift(AgentMemories& memories, double seconds);
void shift(PolicyMemory& memory, double seconds);

}  // namespace SampleGap
}  // namespace vigilmoth
