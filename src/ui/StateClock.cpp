#include "ui/StateClock.h"

namespace vigilmoth {

StateClock StateClock::updated(const std::vector<AgentReading>& readings, Date now) const {
    StateClock next;
    for (const auto& reading : readings) {
        const auto state = reading.verdict.state;
        const Entry* old = entry(reading.identity);
        if (old != nullptr && old->state == state) {
            next.entries.emplace(reading.identity, *old);
        } else {
            const auto before = old != nullptr ? std::optional(old->state) : std::nullopt;
            next.entries.emplace(reading.identity, Entry{state, now, before});
        }
    }
    return next;
}

}  // namespace vigilmoth
