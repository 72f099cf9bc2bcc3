#include "lab/LabAgents.h"

#include <sstream>

#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettingsStore.h"

namespace vigilmoth::LabAgents {

std::string describe(const std::vector<AgentInstance>& instances) {
    if (instances.empty()) return "No agent is running.\n";
    std::ostringstream text;
    for (const auto& instance : instances) {
        size_t count = instance.rows.size();
        text << instance.definition.displayName << " [" << instance.definition.id << "] "
             << roleWord(instance.role) << ", pid " << instance.rootPID << ", " << count
             << (count == 1 ? " process" : " processes") << "\n";
    }
    return text.str();
}

bool run(const std::vector<std::string>&, LabContext& context) {
    auto rows = context.census ? context.census->snapshot() : std::nullopt;
    if (!rows) {
        context.err << "vigilmoth could not read the process table.\n";
        return false;
    }
    const auto& catalog = AgentCatalog::standard();
    std::vector<std::string> userNames;
    if (context.defaults) {
        userNames = DetectionSettingsStore::load(*context.defaults, catalog).userAgentNames;
    }
    std::unordered_map<int32_t, AgentMatch> matches;
    for (const auto& row : *rows) {
        if (auto match = catalog.match(row, userNames)) matches.emplace(row.pid, std::move(*match));
    }
    context.out << describe(AgentInstances::of(*rows, matches));
    return true;
}

}  // namespace vigilmoth::LabAgents
