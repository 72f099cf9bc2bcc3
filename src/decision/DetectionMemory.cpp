#include "decision/DetectionMemory.h"

#include "decision/SampleGap.h"
#include "decision/VerdictRules.h"

namespace vigilmoth {

std::optional<double> DetectionMemory::pass(const SampleTime& time) {
    auto gap = SampleGap::length(previous_, time);
    if (gap) {
        SampleGap::shift(agents_, *gap);
        SampleGap::shift(policy_, *gap);
    }
    previous_ = time;
    return gap;
}

std::vector<AgentReading> DetectionMemory::read(const EvidenceFrame& frame,
                                                const DetectionSettings& settings) {
    auto outcome = VerdictRules::readings(frame, agents_, settings);
    agents_ = std::move(outcome.memories);
    return std::move(outcome.readings);
}

HoldDecision DetectionMemory::decide(const std::vector<AgentReading>& readings,
                                     const DetectionSettings& settings,
                                     const HoldSituation& situation, Date now) {
    auto outcome = HoldPolicy::decide(readings, policy_, settings, situation, now);
    policy_ = std::move(outcome.memory);
    return std::move(outcome.decision);
}

}  // namespace vigilmoth
