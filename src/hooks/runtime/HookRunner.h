#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/AgentCatalog.h"
#include "catalog/ProcessCensus.h"
#include "hooks/runtime/HookInvocation.h"
#include "hooks/runtime/HookStateStoring.h"
#include "hooks/runtime/HookStateUpdate.h"

namespace vigilmoth {

namespace HookRunner {

// The agent process that ran the hook: from `parentPID` up, past shells, the first ancestor
// that the catalog recognises as `agentID`.
std::optional<HookStateUpdate::AgentProcess> agentProcess(int32_t parentPID,
                                                          std::string_view agentID,
                                                          ProcessCensusing& census,
                                                          const AgentCatalog& catalog);

// Whether a process is a shell, which may stand between an agent and its hook but is never the
// agent itself (a desktop agent's tool shells are recognised as its helpers).
bool isShell(const ProcessInfoRow& row);

// One whole hook run. Nothing here fails: a run that cannot do its work writes nothing.
void run(const std::vector<std::string>& arguments, const HookInput& input, int32_t parentPID,
         double now, ProcessCensusing& census, HookStateStoring& store);

}  // namespace HookRunner
}  // namespace vigilmoth
