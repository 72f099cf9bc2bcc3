#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "base/Date.h"
#include "decision/SleepOutlook.h"
#include "notices/AgentNotice.h"

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

// One notification to post.
struct AgentNoticeContent {
    // Unique per posting.
    std::string id;
    // A newer notification with the same key replaces the older one.
    std::string key;
    std::string thread;
    std::string title;
    std::optional<std::string> subtitle;
    std::optional<std::string> body;
    bool sound = true;
    std::optional<std::int32_t> ownerPid;
    std::optional<ProcessIdentity> agent;

    std::optional<AgentNoticeTarget> target() const;

    bool operator==(const AgentNoticeContent&) const = default;
};

namespace AgentNoticeText {

// The notification for a due notice; `outlook` says how long the Mac stays awake for a wait.
AgentNoticeContent content(const AgentNotice& notice, const SleepOutlook& outlook, Date now);

}  // namespace AgentNoticeText
}  // namespace vigilmoth
