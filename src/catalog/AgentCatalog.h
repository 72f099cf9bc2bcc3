#pragma once

#include <set>
#include <string>
#include <vector>

#include "catalog/AgentDefinition.h"

namespace vigilmoth {

struct AgentCatalog {
    std::vector<AgentDefinition> definitions;

    // The process names of every command-line agent.
    std::set<std::string> cliNames() const {
        std::set<std::string> names;
        for (const auto& definition : definitions) {
            if (definition.kind != AgentDefinition::Kind::cli) continue;
            names.insert(definition.processNames.begin(), definition.processNames.end());
        }
        return names;
    }
};

}  // namespace vigilmoth
