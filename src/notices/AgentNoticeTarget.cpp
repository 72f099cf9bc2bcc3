#include "notices/AgentNoticeTarget.h"

#include <limits>

#include "base/JSONCoding.h"

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

}  // namespace vigilmoth
