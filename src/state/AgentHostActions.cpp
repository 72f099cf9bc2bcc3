#include "state/AgentHostActions.h"

#include <algorithm>
#include <cmath>

namespace vigilmoth {

AgentHostActions::AgentHostActions(AgentHostFinding* hosts, ProcessCensusing& census)
    : hosts_(hosts), census_(census) {}

void AgentHostActions::refreshAgentHosts(const std::vector<AgentReading>& readings, bool again) {
    if (!hosts_) return;
    std::vector<const AgentReading*> asked;
    std::vector<AgentHostRequest> requests;
    for (const auto& reading : readings) {
        if (!again && agentHosts_.contains(reading.identity)) continue;
        asked.push_back(&reading);
        requests.push_back({reading.identity.pid, reading.kind});
    }
    if (requests.empty()) return;
    auto answers = hosts_->hosts(requests);
    for (size_t at = 0; at < asked.size(); ++at) {
        std::optional<std::string> name;
        if (at < answers.size() && answers[at]) name = answers[at]->name;
        agentHosts_[asked[at]->identity] = name;
    }
    if (onChange) onChange();
}

bool AgentHostActions::goToAgent(const ProcessIdentity& identity,
                                 std::optional<std::int32_t> fallback,
                                 const std::vector<AgentReading>& readings) {
    if (!hosts_) return false;
    std::optional<std::int32_t> app;
    auto reading = std::find_if(readings.begin(), readings.end(), [&](const AgentReading& r) {
        return r.identity.pid == identity.pid;
    });
    if (reading != readings.end()) {
        auto answers = hosts_->hosts({{reading->identity.pid, reading->kind}});
        if (!answers.empty() && answers.front()) app = answers.front()->appPid;
    }
    if (!app) app = fallback;
    if (!app) return false;
    bool brought = hosts_->bringForward(*app);
    refreshAgentHosts(readings, true);
    return brought;
}

bool AgentHostActions::open(const AgentNoticeTarget& target,
                            const std::vector<AgentReading>& readings) {
    // The pid may since have been given to another process.
    auto row = census_.row(target.agent.pid);
    bool same = row && std::abs(row->startTime - target.agent.startTime) < kSameStart;
    return goToAgent(same ? target.agent : ProcessIdentity{}, target.ownerPid, readings);
}

}  // namespace vigilmoth
