#pragma once

#include <optional>

#include "catalog/AgentDefinition.h"
#include "catalog/CommandDecoding.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// One process recognised as an agent's.
struct AgentMatch {
    AgentDefinition definition;
    AgentRole role = AgentRole::session;

    bool operator==(const AgentMatch&) const = default;
};

// Applying one definition's rules to one process, whose command line is already decoded.
namespace AgentMatching {

bool matches(const ProcessInfoRow& row, const CommandDecoding::Command& command,
             const ProcessMatcher& matcher);
bool matches(const CommandDecoding::Command& command, const ArgumentPattern& pattern);
// The role the process plays in the definition's agent; none when no matcher fits.
std::optional<AgentRole> role(const ProcessInfoRow& row, const CommandDecoding::Command& command,
                              const AgentDefinition& definition);

}  // namespace AgentMatching
}  // namespace vigilmoth
