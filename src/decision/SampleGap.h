#pragma once

#include "decision/AgentMemory.h"
#include "decision/HoldPolicy.h"
#include "evidence/SampleGap.h"

namespace vigilmoth {

// The shifting of the memories over a gap between samples, whose length evidence/SampleGap.h
// measures.
namespace SampleGap {

// The memories with every date that vigilmoth set itself moved later by `seconds`.
void shift(AgentMemories& memories, double seconds);
void shift(PolicyMemory& memory, double seconds);

}  // namespace SampleGap
}  // namespace vigilmoth
