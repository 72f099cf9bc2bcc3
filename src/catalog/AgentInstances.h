#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "catalog/AgentDefinition.h"
#include "catalog/AgentMatching.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// One running agent: its root process and the processes below it. The root's identity
// (pid and start time) names the instance across censuses.
struct AgentInstance {
    AgentDefinition definition;
    AgentRole role = AgentRole::session;
    int32_t rootPID = 0;
    double rootStartTime = 0;
    std::vector<ProcessInfoRow> rows;

    bool operator==(const AgentInstance&) const = default;
};

// Grouping matched processes into running agents: one root per agent session, with the
// processes below it.
namespace AgentInstances {

// Parent cycles cannot make it loop.
std::vector<AgentInstance> of(const std::vector<ProcessInfoRow>& rows,
                              const std::unordered_map<int32_t, AgentMatch>& matches);

}  // namespace AgentInstances
}  // namespace vigilmoth
