#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/AgentCatalog.h"
#include "catalog/ProcessCensus.h"
#include "hooks/HookInvocation.h"
#include "hooks/HookStateUpdate.h"

namespace vigilmoth {

// The state folder as the hook executable uses it. Every agent process has its own file, but
// hooks of one process may run at once (Claude Code starts some in parallel), so each
// read-modify-write happens under the folder's lock.
class HookStateStoring {
public:
    virtual ~HookStateStoring() = default;
    // Holds the folder's lock until `unlock`, creating the folder when it is missing; false when
    // neither worked, in which case nothing is written.
    virtual bool lock() = 0;
    virtual void unlock() = 0;
    // The file's text; absent when it is missing, not a regular file, or too large to be ours.
    virtual std::optional<std::string> read(const std::string& name) = 0;
    // Replaces the file atomically, without following a link planted under its name.
    virtual bool replace(const std::string& name, const std::string& text) = 0;
};

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
