#include "notices/AgentNoticeText.h"

#include <cmath>
#include <limits>
#include <set>

#include "base/JSONCoding.h"
#include "ui/HumaneDuration.h"
#include "ui/PanelOutlookText.h"

namespace vigilmoth {

nlohmann::json AgentNoticeTarget::userInfo() const {
    nlohmann::json info = {{"agentPid", agent.pid}, {"agentStart", agent.startTime}};
    if (ownerPid) info["ownerPid"] = *ownerPid;
    return info;
}

namespace {

std::optional<std::int32_t> pidValue(const nlohmann::json& value) {
    try {
        return static_cast<std::int32_t>(
            json_value::integer(value, "pid", std::numeric_limits<std::int32_t>::min(),
                                std::numeric_limits<std::int32_t>::max()));
    } catch (const CodingError&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<AgentNoticeTarget> AgentNoticeTarget::fromUserInfo(const nlohmann::json& userInfo) {
    if (!userInfo.is_object()) return std::nullopt;
    auto pid = userInfo.find("agentPid");
    auto start = userInfo.find("agentStart");
    if (pid == userInfo.end() || start == userInfo.end() || !start->is_number()) {
        return std::nullopt;
    }
    auto agentPid = pidValue(*pid);
    if (!agentPid) return std::nullopt;
    AgentNoticeTarget target{{*agentPid, start->get<double>()}, std::nullopt};
    if (auto owner = userInfo.find("ownerPid"); owner != userInfo.end()) {
        target.ownerPid = pidValue(*owner);
    }
    return target;
}

std::optional<AgentNoticeTarget> AgentNoticeContent::target() const {
    if (!agent) return std::nullopt;
    return AgentNoticeTarget{*agent, ownerPid};
}

namespace AgentNoticeText {
namespace {

std::string singleTitle(AgentNoticeKind kind, const AgentNotice::Session& session) {
    if (kind == AgentNoticeKind::waiting) return session.displayName + " is waiting for you";
    return session.displayName + (session.failed ? " stopped with an error" : " finished");
}

std::optional<std::string> finishedBody(const AgentNotice::Session& session) {
    if (!session.workedFor) return std::nullopt;
    auto duration = HumaneDuration::units(*session.workedFor);
    if (duration.empty()) return std::nullopt;
    return "After " + duration;
}

}  // namespace

AgentNoticeContent content(const AgentNotice& notice, const SleepOutlook& outlook, Date now) {
    std::string word(agentNoticeKindWord(notice.kind));
    bool single = notice.sessions.size() == 1;
    AgentNoticeContent content;
    if (single) {
        const auto& session = notice.sessions.front();
        content.key = word + "-" + std::to_string(session.identity.pid);
        content.thread = "agent-" + session.agentID;
        content.title = singleTitle(notice.kind, session);
        content.subtitle = session.label;
        content.agent = session.identity;
    } else {
        content.key = "agents-" + word;
        content.thread = "agents";
        content.title = std::to_string(notice.sessions.size()) +
                        (notice.kind == AgentNoticeKind::waiting ? " agents are waiting for you"
                                                                 : " agents finished");
    }
    if (notice.kind == AgentNoticeKind::waiting) {
        content.body = PanelText::sleepOutlook(outlook);
    } else if (single) {
        content.body = finishedBody(notice.sessions.front());
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

}  // namespace AgentNoticeText
}  // namespace vigilmoth
