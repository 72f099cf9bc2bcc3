#pragma once

#include <string>
#include <vector>

namespace vigilmoth {

// The part each process of an agent plays.
enum class AgentRole { session, engine, helper, helperMaybeSession };

// One agent the catalog knows (only what the evidence and the settings need of it here).
struct AgentDefinition {
    enum class Level { state, activity, generic };
    enum class Kind { cli, desktop };

    std::string id;
    std::string displayName;
    Level level = Level::activity;
    Kind kind = Kind::cli;
    // The lower-cased process names that recognise the agent, in order.
    std::vector<std::string> processNames;

    bool operator==(const AgentDefinition&) const = default;
};

}  // namespace vigilmoth
