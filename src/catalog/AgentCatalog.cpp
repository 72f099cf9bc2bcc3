#include "catalog/AgentCatalog.h"

#include <algorithm>

#include "catalog/AgentDefinitions.h"
#include "catalog/CommandText.h"

namespace vigilmoth {
namespace {

std::optional<AgentMatch> firstOfKind(const std::vector<AgentDefinition>& definitions,
                                      AgentDefinition::Kind kind, const ProcessInfoRow& row,
                                      const CommandDecoding::Command& command) {
    for (const auto& definition : definitions) {
        if (definition.kind != kind) continue;
        if (auto found = AgentMatching::role(row, command, definition))
            return AgentMatch{definition, *found};
    }
    return std::nullopt;
}

}  // namespace

const AgentCatalog& AgentCatalog::standard() {
    static const AgentCatalog catalog = [] {
        AgentCatalog built;
        built.definitions = AgentDefinitions::desktop();
        const auto& cli = AgentDefinitions::cli();
        built.definitions.insert(built.definitions.end(), cli.begin(), cli.end());
        return built;
    }();
    return catalog;
}

AgentDefinition AgentCatalog::userDefinition(const std::string& name) {
    AgentDefinition definition;
    definition.id = "user:" + name;
    definition.displayName = name;
    definition.level = AgentDefinition::Level::generic;
    definition.kind = AgentDefinition::Kind::cli;
    definition.matchers.push_back({ProcessMatcher::name(name), ArgumentPattern::any(), {}});
    definition.verified = false;
    return definition;
}

std::optional<AgentMatch> AgentCatalog::match(const ProcessInfoRow& row,
                                              const std::vector<std::string>& userNames) const {
    const auto decoded = CommandDecoding::command(row);
    using Kind = AgentDefinition::Kind;
    if (auto found = firstOfKind(definitions, Kind::desktop, row, decoded)) return found;
    // A command-line name inside an application bundle belongs to that application, unless a
    // script interpreter runs it.
    bool inBundle = row.executablePath.find(".app/Contents/") != std::string::npos;
    if (!inBundle || decoded.interpreted) {
        if (auto found = firstOfKind(definitions, Kind::cli, row, decoded)) return found;
    }
    for (const auto& name : userNames) {
        if (std::find(decoded.names.begin(), decoded.names.end(), CommandText::lowered(name)) !=
            decoded.names.end())
            return AgentMatch{userDefinition(name), AgentRole::session};
    }
    return std::nullopt;
}

std::set<std::string> AgentCatalog::cliNames() const {
    std::set<std::string> names;
    for (const auto& definition : definitions) {
        if (definition.kind != AgentDefinition::Kind::cli) continue;
        for (auto& name : definition.processNames())
            names.insert(std::move(name));
    }
    return names;
}

const AgentDefinition* AgentCatalog::definition(std::string_view id) const {
    for (const auto& candidate : definitions)
        if (candidate.id == id) return &candidate;
    return nullptr;
}

}  // namespace vigilmoth
