#include "evidence/StoredDates.h"

namespace vigilmoth {

EvidenceFrame withStoredDates(EvidenceFrame frame) {
    // Rounded by the encoder itself, so that the two can never round differently.
    const JSONEncoder stored{.dates = DateStrategy::wholeMilliseconds};
    auto round = [&](Date date) { return Date(stored.date(date).get<double>()); };
    auto roundPresent = [&](std::optional<Date>& date) {
        if (date) date = round(*date);
    };
    frame.at = round(frame.at);
    for (auto& agent : frame.agents) {
        roundPresent(agent.fileActivityAt);
        roundPresent(agent.hookStateAt);
        if (!agent.reported) continue;
        roundPresent(agent.reported->since);
        agent.reported->observedAt = round(agent.reported->observedAt);
    }
    return frame;
}

}  // namespace vigilmoth
