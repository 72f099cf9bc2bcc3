#pragma once

#include <optional>
#include <vector>

#include "decision/AgentMemory.h"
#include "decision/AgentReading.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "evidence/EvidenceSample.h"

namespace vigilmoth {

// What detection carries from one frame to the next: the verdict rules' memory per agent, the
// hold policy's, and the time of the last frame. The live engine and the lab replay both step
// through frames with it, so that a recording replays exactly as it was decided live.
class DetectionMemory {
public:
    // Notes the frame's time. When a sleep or stall lies between it and the last frame, moves
    // every date the memories set themselves on by its length and returns it.
    std::optional<double> pass(const SampleTime& time);
    // The verdict rules over the frame; the agent memories follow.
    std::vector<AgentReading> read(const EvidenceFrame& frame, const DetectionSettings& settings);
    // The hold policy over the readings; the policy memory follows.
    HoldDecision decide(const std::vector<AgentReading>& readings,
                        const DetectionSettings& settings, const HoldSituation& situation,
                        Date now);
    // Starts the hold policy afresh, as after a wake.
    void forgetPolicy() { policy_ = {}; }

    const AgentMemories& agents() const { return agents_; }
    const PolicyMemory& policy() const { return policy_; }

private:
    AgentMemories agents_;
    PolicyMemory policy_;
    std::optional<SampleTime> previous_;
};

}  // namespace vigilmoth
