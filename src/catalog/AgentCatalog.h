#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/AgentDefinition.h"
#include "catalog/AgentMatching.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// The known agents, in the order in which matching tries them.
struct AgentCatalog {
    std::vector<AgentDefinition> definitions;

    // Every desktop definition, then every command-line one; built once, never changed.
    static const AgentCatalog& standard();

    // The agent this process belongs to, trying desktop definitions first, then command-line
    // ones, then the user's own agent names.
    std::optional<AgentMatch> match(const ProcessInfoRow& row,
                                    const std::vector<std::string>& userNames = {}) const;
    // The definition made on the fly for an agent the user named ("user:" + the name).
    static AgentDefinition userDefinition(const std::string& name);

    // The process names of every command-line definition.
    std::set<std::string> cliNames() const;
    // The definition with this id, or null.
    const AgentDefinition* definition(std::string_view id) const;

    bool operator==(const AgentCatalog&) const = default;
};

}  // namespace vigilmoth
