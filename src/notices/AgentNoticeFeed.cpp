#include "notices/AgentNoticeFeed.h"

namespace vigilmoth {

AgentNoticeFeed::Conditions AgentNoticeFeed::Conditions::replay() {
    Conditions conditions;
    conditions.settings =
        AgentNoticeSettings{.waiting = true, .finished = true, .onlyWhenAway = false};
    conditions.active = true;
    return conditions;
}

AgentNoticeFeed::Step AgentNoticeFeed::feed(const std::vector<AgentReading>& readings, Date now,
                                            Conditions conditions) {
    if (!conditions.settings.waiting && !conditions.settings.finished) {
        reducer_ = AgentNoticeReducer();
        return {};
    }
    AgentNoticeInput input{.readings = readings,
                           .labels = std::move(conditions.labels),
                           .owners = std::move(conditions.owners),
                           .frontmostPid = conditions.frontmostPid,
                           .userActive = conditions.userActive,
                           .settings = conditions.settings,
                           .active = conditions.active};
    Step step;
    step.due = reducer_.update(now, input);
    step.decisions = reducer_.decisions;
    return step;
}

}  // namespace vigilmoth
