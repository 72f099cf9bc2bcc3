#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalog/AgentDefinition.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// One process recognised as an agent's.
struct AgentMatch {
    AgentDefinition definition;
    AgentRole role = AgentRole::session;

    bool operator==(const AgentMatch&) const = default;
};

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

// The known agents, in the order in which matching tries them.
struct AgentCatalog {
    // A command line decoded through launchers and script interpreters.
    struct Command {
        std::vector<std::string> names;      // lower case, in order of discovery
        std::vector<std::string> arguments;  // after the last decoded program name
        bool interpreted = false;            // the program runs under a script interpreter

        bool operator==(const Command&) const = default;
    };

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

    // The agent this process belongs to, trying desktop definitions first, then command-line
    // ones, then the user's own agent names.
    std::optional<AgentMatch> match(const ProcessInfoRow& row,
                                    const std::vector<std::string>& userNames = {}) const;
    static Command command(const ProcessInfoRow& row);
    // The definition made on the fly for an agent the user named ("user:" + the name).
    static AgentDefinition userDefinition(const std::string& name);
    // Groups matched rows into running agents; parent cycles cannot make it loop.
    static std::vector<AgentInstance> instances(
        const std::vector<ProcessInfoRow>& rows,
        const std::unordered_map<int32_t, AgentMatch>& matches);

    // Whether a launcher's word names a program to run (a package, a bare name, a bin script).
    static bool isCommandTarget(std::string_view word);
    // The program name in such a word: no folder, registry prefix or version.
    static std::string targetName(std::string_view word);

    // The process names of every command-line definition.
    std::set<std::string> cliNames() const;
    // The definition with this id, or null.
    const AgentDefinition* definition(std::string_view id) const;

    bool operator==(const AgentCatalog&) const = default;
};

}  // namespace vigilmoth
