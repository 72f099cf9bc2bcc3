#pragma once

#include <unordered_map>
#include <vector>

#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"
#include "decision/HoldPolicy.h"
#include "evidence/EvidenceFrame.h"
#include "evidence/EvidenceSample.h"

namespace vigilmoth {

// What the detection engine publishes after each decision.
struct DetectionSample {
    EvidenceFrame frame;
    std::vector<AgentReading> readings;
    HoldDecision decision;
    // Seconds the collection took.
    double cost = 0;
    std::unordered_map<ProcessIdentity, SessionHint> sessionHints;
    // The tick followed a gap in the awake clock or a sleep.
    bool afterGap = false;

    bool operator==(const DetectionSample&) const = default;
};

}  // namespace vigilmoth
