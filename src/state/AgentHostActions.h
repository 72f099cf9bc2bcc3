#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalog/AgentHostFinding.h"
#include "catalog/ProcessCensus.h"
#include "decision/AgentReading.h"
#include "notices/AgentNoticeTarget.h"

namespace vigilmoth {

// Going to an agent's window, and the names of the applications the sessions run in, for the
// panel's rows. Lives on the main loop.
class AgentHostActions {
public:
    // Start times closer than this are the same process's.
    static constexpr double kSameStart = 0.001;

    // Without a host finder nothing is found and nothing brought forward.
    AgentHostActions(AgentHostFinding* hosts, ProcessCensusing& census);

    // Looks up the sessions of `readings` not looked up yet, or all of them `again`.
    void refreshAgentHosts(const std::vector<AgentReading>& readings, bool again);
    // Brings forward the application of the session with that pid among `readings`, else the
    // `fallback` application; false when there is neither or it could not be brought forward.
    bool goToAgent(const ProcessIdentity& identity, std::optional<std::int32_t> fallback,
                   const std::vector<AgentReading>& readings);
    // A click on a notice: its session, while the same process still runs, else the
    // application it ran in.
    bool open(const AgentNoticeTarget& target, const std::vector<AgentReading>& readings);

    // The host's name per session; an absent name: looked up, none found.
    const std::unordered_map<ProcessIdentity, std::optional<std::string>>& agentHosts() const {
        return agentHosts_;
    }
    std::function<void()> onChange;

private:
    AgentHostFinding* hosts_;
    ProcessCensusing& census_;
    std::unordered_map<ProcessIdentity, std::optional<std::string>> agentHosts_;
};

}  // namespace vigilmoth
