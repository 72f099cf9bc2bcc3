#include "catalog/AgentDefinition.h"

#include "catalog/CommandText.h"

namespace vigilmoth {

std::vector<std::string> AgentDefinition::processNames() const {
    std::vector<std::string> names;
    for (const auto& matcher : matchers) {
        if (const auto* name = std::get_if<ProcessMatcher::Name>(&matcher.process.value)) {
            names.push_back(CommandText::lowered(name->name));
        }
    }
    return names;
}

}  // namespace vigilmoth
