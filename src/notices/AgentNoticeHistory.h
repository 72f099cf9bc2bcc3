#pragma once

#include <string>
#include <vector>

#include "base/Date.h"

namespace vigilmoth {

// How a posting went.
enum class AgentNoticeDelivery { delivered, noBanner, notAllowed, failed };

// The notices shown in the preferences, newest first.
struct AgentNoticeHistory {
    struct Result {
        enum class Kind { sent, sending, inFront, notActive };
        Kind kind = Kind::sending;
        // For sent.
        AgentNoticeDelivery delivery = AgentNoticeDelivery::delivered;

        static Result sent(AgentNoticeDelivery delivery) { return {Kind::sent, delivery}; }
        static Result of(Kind kind) { return {kind, AgentNoticeDelivery::delivered}; }

        bool operator==(const Result&) const = default;
    };
    struct Entry {
        std::string id;
        Date at;
        std::string title;
        Result result;

        bool operator==(const Entry&) const = default;
    };

    std::vector<Entry> entries;
    // How many entries are kept.
    int count = 20;

    // Puts the entry first and forgets the oldest beyond the capacity.
    void add(Entry entry);
    // The entry with that id becomes sent with the delivery; an unknown id changes nothing.
    void delivered(const std::string& id, AgentNoticeDelivery delivery);

    bool operator==(const AgentNoticeHistory&) const = default;
};

}  // namespace vigilmoth
