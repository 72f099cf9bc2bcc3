#pragma once

#include <chrono>

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
    // A tick asks twice about its new sessions (their rows, then the notices' owners): within
    // this long the answers of the last census stand, rather than listing /proc again.
    static constexpr std::chrono::milliseconds kRecent{500};

    struct Recent {
        AgentHostRequest request;
        std::optional<AgentHost> host;
    };

    std::optional<ProcessTable> table();
    std::optional<AgentHost> resolve(const AgentHostRequest& request, const ProcessTable& table);

    ProcessCensusing& census_;
    std::vector<Recent> recent_;
    std::chrono::steady_clock::time_point recentAt_;
    bool toldNoWayForward_ = false;
};

}  // namespace vigilmoth
