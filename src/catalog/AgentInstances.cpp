#include "catalog/AgentInstances.h"

#include <algorithm>
#include <unordered_set>

#include "catalog/AgentDefinitions.h"
#include "catalog/CommandDecoding.h"
#include "catalog/CommandText.h"

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

// An engine started by another engine or by a session of the same agent belongs to that one:
// Codex's managed daemon runs the session's commands and hooks, and is a root of its own only
// once the session that started it has gone.
bool engineIsRoot(const ProcessInfoRow& row, const AgentMatch& match, const RowIndex& rows,
                  const Matches& matches) {
    std::unordered_set<int32_t> visited = {row.pid};
    int32_t current = row.ppid;
    while (visited.insert(current).second) {
        auto ancestor = rows.find(current);
        if (ancestor == rows.end()) break;
        const AgentMatch* ancestorMatch = matchOf(matches, current);
        if (ancestorMatch && ancestorMatch->definition.id == match.definition.id &&
            (ancestorMatch->role == AgentRole::engine || ancestorMatch->role == AgentRole::session))
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

const ProcessInfoRow* parentOf(const ProcessInfoRow& row, const RowIndex& rows) {
    if (row.ppid == row.pid) return nullptr;
    auto parent = rows.find(row.ppid);
    return parent == rows.end() ? nullptr : parent->second;
}

// The first word of a shell's `-c` text, as a program name; empty for anything else.
std::string shellProgram(const ProcessInfoRow& row) {
    const auto& arguments = row.arguments;
    if (arguments.size() < 3 || arguments[1] != "-c" ||
        !AgentDefinitions::cursorShells().contains(CommandText::loweredBaseName(arguments[0])))
        return {};
    std::string_view text = arguments[2];
    text = text.substr(0, text.find_first_of(" \t\n"));
    if (!text.empty() && (text.front() == '\'' || text.front() == '"')) text.remove_prefix(1);
    if (!text.empty() && (text.back() == '\'' || text.back() == '"')) text.remove_suffix(1);
    return CommandText::loweredBaseName(text);
}

// The process a launcher step above `row` leads to: the launcher itself, or the launcher
// above the `sh -c '<name>'` it inserted to run the program. Never another agent's process.
const ProcessInfoRow* launcherAbove(const ProcessInfoRow& row, const AgentMatch& match,
                                    const RowIndex& rows, const Matches& matches) {
    auto mayJoin = [&](const ProcessInfoRow& candidate) {
        const AgentMatch* found = matchOf(matches, candidate.pid);
        if (found &&
            (found->definition.id != match.definition.id || found->role != AgentRole::session))
            return false;
        return CommandDecoding::command(candidate).launched;
    };
    const ProcessInfoRow* parent = parentOf(row, rows);
    if (!parent) return nullptr;
    if (mayJoin(*parent)) return parent;
    std::string program = shellProgram(*parent);
    if (program.empty() || matchOf(matches, parent->pid)) return nullptr;
    const auto names = CommandDecoding::command(row).names;
    if (std::find(names.begin(), names.end(), program) == names.end()) return nullptr;
    const ProcessInfoRow* launcher = parentOf(*parent, rows);
    return launcher && mayJoin(*launcher) ? launcher : nullptr;
}

// One session, one instance: the launcher that started an agent, and what it put between
// itself and the agent, belong to the agent's instance, rooted at the launcher's topmost
// process. A launcher claimed by one agent is not taken by another.
std::vector<const ProcessInfoRow*> launcherRoots(const std::vector<const ProcessInfoRow*>& roots,
                                                 const RowIndex& rows, const Matches& matches,
                                                 std::unordered_map<int32_t, int32_t>& rootOf) {
    std::unordered_set<int32_t> taken;
    for (const auto* root : roots)
        taken.insert(root->pid);
    std::vector<const ProcessInfoRow*> result;
    for (const auto* root : roots) {
        const AgentMatch& match = matches.at(root->pid);
        const ProcessInfoRow* top = root;
        std::unordered_set<int32_t> visited = {root->pid};
        while (const auto* above = launcherAbove(*top, match, rows, matches)) {
            if (!visited.insert(above->pid).second) break;
            top = above;
        }
        if (top == root) {
            result.push_back(root);
        } else if (matchOf(matches, top->pid)) {
            // The launcher is this agent's own process: the agent is in its instance already.
        } else if (taken.insert(top->pid).second) {
            rootOf[top->pid] = root->pid;
            result.push_back(top);
        } else {
            result.push_back(root);  // another agent claimed the launcher first
        }
    }
    return result;
}

}  // namespace

std::vector<AgentInstance> of(const std::vector<ProcessInfoRow>& rows, const Matches& matches) {
    RowIndex byPID;
    for (const auto& row : rows)
        byPID.emplace(row.pid, &row);
    const auto children = ProcessCensus::childrenIndex(rows);
    std::vector<const ProcessInfoRow*> found;
    for (const auto& row : rows) {
        const AgentMatch* match = matchOf(matches, row.pid);
        if (match && isRoot(row, *match, byPID, matches)) found.push_back(&row);
    }
    // A root that is a launcher stands for the agent it started.
    std::unordered_map<int32_t, int32_t> rootOf;
    const auto roots = launcherRoots(found, byPID, matches, rootOf);
    std::unordered_set<int32_t> rootIDs;
    for (const auto* root : roots)
        rootIDs.insert(root->pid);
    std::vector<AgentInstance> result;
    for (const auto* root : roots) {
        auto started = rootOf.find(root->pid);
        const AgentMatch& match = matches.at(started == rootOf.end() ? root->pid : started->second);
        result.push_back({match.definition, match.role, root->pid, root->startTime,
                          ProcessCensus::subtree(*root, children, rootIDs)});
    }
    return result;
}

}  // namespace vigilmoth::AgentInstances
