#pragma once

#include <string>
#include <vector>

#include "catalog/AgentInstances.h"
#include "lab/LabContext.h"

// --lab-agents: the agents that vigilmoth recognises right now, from one census.
namespace vigilmoth::LabAgents {

// One line per instance: "<display name> [<id>] <role word>, pid <root pid>, <N> process(es)".
std::string describe(const std::vector<AgentInstance>& instances);

bool run(const std::vector<std::string>& parameters, LabContext& context);

}  // namespace vigilmoth::LabAgents
