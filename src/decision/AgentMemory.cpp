#include "decision/AgentMemory.h"

namespace vigilmoth {

std::optional<Date> latest(std::optional<Date> a, std::optional<Date> b) {
    if (!a) return b;
    if (!b) return a;
    return std::max(*a, *b);
}

std::optional<Date> AgentMemory::lastStrongAt() const {
    return latest(latest(lastCommandAt, lastBackgroundJobAt),
                  latest(lastAssertionAt, lastFileWriteAt));
}

AgentMemory AgentMemory::shifted(double seconds) const {
    AgentMemory moved = *this;
    for (auto* date : {&moved.firstSeenAt, &moved.lastCommandAt, &moved.lastBackgroundJobAt,
                       &moved.lastAssertionAt, &moved.lastFileWriteAt, &moved.lastCPUAt,
                       &moved.weakOnlySince, &moved.lastReportSeenAt, &moved.hookWorkSince,
                       &moved.workAfterHookIdleAt, &moved.approvalSignsSince}) {
        if (*date) *date = **date + seconds;
    }
    for (auto& sample : moved.cpuSamples)
        sample.at = sample.at + seconds;
    return moved;
}

}  // namespace vigilmoth
