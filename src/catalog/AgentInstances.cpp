#include "catalog/AgentInstances.h"

#include <unordered_set>

namespace vigilmoth::AgentInstances {
namespace {

using RowIndex = std::unordered_map<int32_t, const ProcessInfoRow*>;
using Matches = std::unordered_map<int32_t, AgentMatch>;

const AgentMatch* matchOf(const Matches& matches, int32_t pid) {
    auto found = matches.find(pid);
    return found == matches.end() ? nullptr : &found->second;
}

bool sessionIsRoot(const ProcessInfoRow& row, const AgentMatch& match, const Matches& matches) {
    if (row.ppid == row.pid) return true;
    const AgentMatch* parent = matchOf(matches, row.ppid);
    if (!parent || parent->definition.id != match.definition.id) return true;
    return parent->role == AgentRole::engine || parent->role == AgentRole::helper;
}

// An engine started by another engine of the same agent belongs to that one.
bool engineIsRoot(const ProcessInfoRow& row, const AgentMatch& match, const RowIndex& rows,
                  const Matches& matches) {
    std::unordered_set<int32_t> visited = {row.pid};
    int32_t current = row.ppid;
    while (visited.insert(current).second) {
        auto ancestor = rows.find(current);
        if (ancestor == rows.end()) break;
        const AgentMatch* ancestorMatch = matchOf(matches, current);
        if (ancestorMatch && ancestorMatch->role == AgentRole::engine &&
            ancestorMatch->definition.id == match.definition.id)
            return false;
        current = ancestor->second->ppid;
    }
    return true;
}

bool isRoot(const ProcessInfoRow& row, const AgentMatch& match, const RowIndex& rows,
            const Matches& matches) {
    switch (match.role) {
        case AgentRole::session:
            return sessionIsRoot(row, match, matches);
        case AgentRole::engine:
            return engineIsRoot(row, match, rows, matches);
        case AgentRole::helper:
            return false;
        case AgentRole::helperMaybeSession:
            return true;
    }
    return false;
}

}  // namespace

std::vector<AgentInstance> of(const std::vector<ProcessInfoRow>& rows, const Matches& matches) {
    RowIndex byPID;
    for (const auto& row : rows)
        byPID.emplace(row.pid, &row);
    const auto children = ProcessCensus::childrenIndex(rows);
    std::vector<const ProcessInfoRow*> roots;
    std::unordered_set<int32_t> rootIDs;
    for (const auto& row : rows) {
        const AgentMatch* match = matchOf(matches, row.pid);
        if (match && isRoot(row, *match, byPID, matches)) {
            roots.push_back(&row);
            rootIDs.insert(row.pid);
        }
    }
    std::vector<AgentInstance> result;
    for (const auto* root : roots) {
        const AgentMatch& match = matches.at(root->pid);
        result.push_back({match.definition, match.role, root->pid, root->startTime,
                          ProcessCensus::subtree(*root, children, rootIDs)});
    }
    return result;
}

}  // namespace vigilmoth::AgentInstances
