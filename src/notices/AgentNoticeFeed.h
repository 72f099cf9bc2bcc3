#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "notices/AgentNoticeReducer.h"

namespace vigilmoth {

// Feeds one sample's readings to the notice reducer. The live application and the lab's replay
// both go through here, so that a recording replays into exactly the notices the application
// would have posted under the same conditions.
class AgentNoticeFeed {
public:
    // Everything of an update besides the readings.
    struct Conditions {
        std::unordered_map<ProcessIdentity, std::string> labels;
        std::unordered_map<ProcessIdentity, std::int32_t> owners;
        std::optional<std::int32_t> frontmostPid;
        bool userActive = false;
        AgentNoticeSettings settings;
        bool active = true;

        // The lab's: both kinds on, the user away and the product on, so that every notice the
        // rules could produce shows, whatever the user's own settings are.
        static Conditions replay();
    };

    struct Step {
        std::vector<AgentNotice> due;
        std::vector<AgentNoticeDecision> decisions;
    };

    // With both kinds off the reducer starts afresh and nothing is due, so that switching a
    // kind back on learns the states that hold then instead of announcing them.
    Step feed(const std::vector<AgentReading>& readings, Date now, Conditions conditions);

    const AgentNoticeReducer& reducer() const { return reducer_; }

private:
    AgentNoticeReducer reducer_;
};

}  // namespace vigilmoth
