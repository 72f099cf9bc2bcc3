#pragma once

#include <cstdint>
#include <optional>

#include <nlohmann/json.hpp>

#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// Where a click on a notification leads.
struct AgentNoticeTarget {
    ProcessIdentity agent;
    std::optional<std::int32_t> ownerPid;

    // The dictionary attached to the notification: "agentPid", "agentStart", "ownerPid".
    nlohmann::json userInfo() const;
    // None unless the dictionary holds both "agentPid" and "agentStart".
    static std::optional<AgentNoticeTarget> fromUserInfo(const nlohmann::json& userInfo);

    bool operator==(const AgentNoticeTarget&) const = default;
};

}  // namespace vigilmoth
