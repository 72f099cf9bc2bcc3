#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Date.h"
#include "notices/AgentNotice.h"
#include "notices/AgentNoticeTarget.h"

namespace vigilmoth {

// One notification to post. Its title and body are ui/'s words (`AgentNoticeText`).
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

    // Everything but the title and the body: the keys, the session's label and where a click
    // leads, for a due notice posted at `now`.
    static AgentNoticeContent of(const AgentNotice& notice, Date now);

    std::optional<AgentNoticeTarget> target() const;

    bool operator==(const AgentNoticeContent&) const = default;
};

}  // namespace vigilmoth
