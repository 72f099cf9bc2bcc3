#include "decision/SampleGap.h"

namespace vigilmoth::SampleGap {

void shift(AgentMemories& memories, double seconds) {
    for (auto& [identity, memory] : memories)
        memory = memory.shifted(seconds);
}

void shift(PolicyMemory& memory, double seconds) {
    for (auto& [identity, instance] : memory.instances) {
        if (instance.lastWorkingAt) instance.lastWorkingAt = *instance.lastWorkingAt + seconds;
        if (instance.waitingSince) instance.waitingSince = *instance.waitingSince + seconds;
    }
}

}  // namespace vigilmoth::SampleGap
