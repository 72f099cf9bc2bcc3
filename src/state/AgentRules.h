#pragma once

#include <string>

#include "decision/DetectionSettings.h"

namespace vigilmoth::AgentRules {

// The settings with the agent's rule set; `automatic` leaves no entry behind, so that the
// stored rules name only the agents the user treats apart.
inline DetectionSettings withRule(DetectionSettings settings, const std::string& agentID,
                                  AgentRule rule) {
    if (rule == AgentRule::automatic) {
        settings.agentRules.erase(agentID);
    } else {
        settings.agentRules[agentID] = rule;
    }
    return settings;
}

}  // namespace vigilmoth::AgentRules
