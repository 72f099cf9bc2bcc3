#include "hooks/runtime/HookRunner.h"

#include <set>

#include "hooks/HookEvents.h"

namespace vigilmoth::HookRunner {
namespace {

// Far more than any agent puts between itself and its hook; it only stops a runaway walk.
constexpr int kMaximumAncestors = 32;

std::string_view baseName(std::string_view path) {
    auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool isShellName(std::string_view name) {
    static const std::set<std::string_view> shells{"sh",   "bash", "dash", "zsh", "ksh",
                                                   "mksh", "fish", "tcsh", "csh", "ash"};
    // A login shell's argument 0 starts with "-".
    if (name.starts_with("-")) name.remove_prefix(1);
    return shells.contains(name);
}

}  // namespace

bool isShell(const ProcessInfoRow& row) {
    if (isShellName(baseName(row.executablePath))) return true;
    return !row.arguments.empty() && isShellName(baseName(row.arguments.front()));
}

std::optional<HookStateUpdate::AgentProcess> agentProcess(int32_t parentPID,
                                                          std::string_view agentID,
                                                          ProcessCensusing& census,
                                                          const AgentCatalog& catalog) {
    int32_t pid = parentPID;
    for (int step = 0; step < kMaximumAncestors && pid > 0; ++step) {
        auto row = census.row(pid);
        if (!row) return std::nullopt;
        if (!isShell(*row)) {
            auto match = catalog.match(*row);
            if (match && match->definition.id == agentID) {
                return HookStateUpdate::AgentProcess{row->pid, row->startTime};
            }
        }
        if (row->ppid == pid) return std::nullopt;
        pid = row->ppid;
    }
    return std::nullopt;
}

void run(const std::vector<std::string>& arguments, const HookInput& input, int32_t parentPID,
         double now, ProcessCensusing& census, HookStateStoring& store) {
    auto invocation = HookInvocation::parse(arguments);
    if (!invocation) return;
    // Most events of most agents carry a state; the walk is only worth it for those.
    if (HookEvents::meaning(invocation->agent, invocation->event, input.notificationType).kind ==
        HookAction::Kind::ignore) {
        return;
    }
    auto process = agentProcess(parentPID, invocation->agent, census, AgentCatalog::standard());
    if (!process) return;
    if (!store.lock()) return;
    std::string name = HookStateFile::fileName(invocation->agent, process->pid);
    auto next = HookStateUpdate::applying(store.read(name), *invocation, input, *process, now);
    if (next) store.replace(name, next->encode());
    store.unlock();
}

}  // namespace vigilmoth::HookRunner
