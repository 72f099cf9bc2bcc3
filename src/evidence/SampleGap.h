#pragma once

#include <optional>

#include "evidence/EvidenceSample.h"

namespace vigilmoth {

// Time between two ticks that must count neither as activity nor as inactivity: the machine
// slept, or the application stalled while it was awake. The collector measures CPU over it; the
// live engine and the lab replay shift their memories by it (decision/SampleGap.h), all with
// these same constants.
namespace SampleGap {

// A difference of the two clocks beyond this is sleep rather than jitter.
inline constexpr double sleepTolerance = 1;
// Awake time between two ticks beyond this is a stall rather than a slow tick.
inline constexpr double stallThreshold = 15;

// The gap in seconds, or nothing when the ticks followed each other normally.
std::optional<double> length(const std::optional<SampleTime>& previous, const SampleTime& current);

}  // namespace SampleGap
}  // namespace vigilmoth
