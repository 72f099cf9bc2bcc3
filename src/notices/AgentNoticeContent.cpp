#include "notices/AgentNoticeContent.h"

#include <cmath>
#include <set>

namespace vigilmoth {

AgentNoticeContent AgentNoticeContent::of(const AgentNotice& notice, Date now) {
    std::string word(agentNoticeKindWord(notice.kind));
    AgentNoticeContent content;
    if (notice.sessions.size() == 1) {
        const auto& session = notice.sessions.front();
        content.key = word + "-" + std::to_string(session.identity.pid);
        content.thread = "agent-" + session.agentID;
        content.subtitle = session.label;
        content.agent = session.identity;
    } else {
        content.key = "agents-" + word;
        content.thread = "agents";
    }
    content.id = content.key + "-" +
                 std::to_string(static_cast<long long>(std::round(now.secondsSince1970() * 1000)));
    std::set<std::int32_t> owners;
    for (const auto& session : notice.sessions) {
        if (session.ownerPid) owners.insert(*session.ownerPid);
    }
    if (owners.size() == 1) content.ownerPid = *owners.begin();
    return content;
}

std::optional<AgentNoticeTarget> AgentNoticeContent::target() const {
    if (!agent) return std::nullopt;
    return AgentNoticeTarget{*agent, ownerPid};
}

}  // namespace vigilmoth
