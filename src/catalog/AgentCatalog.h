#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalog/AgentDefinition.h"

namespace vigilmoth {

// The known agents, in the order in which matching tries them.
struct AgentCatalog {
    std::vector<AgentDefinition> definitions;

    // Every desktop definition, then every command-line one; built once, never changed.
    static const AgentCatalog& standard();
    static const std::vector<AgentDefinition>& desktopDefinitions();
    static const std::vector<AgentDefinition>& cliDefinitions();

    // Shells that a desktop agent starts for its tools.
    static const WordSet& cursorShells();
    // Extensions of a single text file that an editor of an agent's name may be opened on.
    static const WordSet& textFileExtensions();
    // Launcher name to the subcommand word sequences after which the launched program follows;
    // an empty sequence means it follows directly.
    static const std::unordered_map<std::string, std::vector<std::vector<std::string>>>&
    launchers();
    // Launcher options that take the following word as their value (unless written with "=").
    static const WordSet& launcherValuedFlags();
    // Per launcher, options of the list above that take no value for that launcher.
    static const std::unordered_map<std::string, WordSet>& launcherSwitches();

    // The process names of every command-line definition.
    std::set<std::string> cliNames() const;
    // The definition with this id, or null.
    const AgentDefinition* definition(std::string_view id) const;

    bool operator==(const AgentCatalog&) const = default;
};

}  // namespace vigilmoth
