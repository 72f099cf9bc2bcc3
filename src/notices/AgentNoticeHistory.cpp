#include "notices/AgentNoticeHistory.h"

#include <algorithm>

namespace vigilmoth {

void AgentNoticeHistory::add(Entry entry) {
    entries.insert(entries.begin(), std::move(entry));
    if (entries.size() > static_cast<size_t>(std::max(count, 0))) {
        entries.resize(static_cast<size_t>(std::max(count, 0)));
    }
}

void AgentNoticeHistory::delivered(const std::string& id, AgentNoticeDelivery delivery) {
    for (auto& entry : entries) {
        if (entry.id == id) entry.result = Result::sent(delivery);
    }
}

}  // namespace vigilmoth
