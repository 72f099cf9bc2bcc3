#pragma once

#include "catalog/AgentHostFinding.h"
#include "catalog/AgentHostResolver.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// The host of an agent on Linux: the terminal emulator or editor whose terminal the agent runs
// on. Such a program is recognised by its executable's name; one not known by name is found as
// the process that owns the agent's terminal.
class SystemAgentHosts final : public AgentHostFinding {
public:
    explicit SystemAgentHosts(ProcessCensusing& census) : census_(census) {}

    std::vector<std::optional<AgentHost>> hosts(
        const std::vector<AgentHostRequest>& requests) override;
    // Raising another program's window needs a protocol that desktops keep to themselves
    // (Wayland lets only the program itself ask, with a token from the compositor): answers
    // false, and says so once.
    bool bringForward(std::int32_t appPid) override;
    std::vector<std::optional<std::int32_t>> owners(const std::vector<std::int32_t>& pids) override;

private:
    std::optional<ProcessTable> table();

    ProcessCensusing& census_;
    bool toldNoWayForward_ = false;
};

}  // namespace vigilmoth
