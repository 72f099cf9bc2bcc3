#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "ui/PanelState.h"

namespace vigilmoth {

// Which groups the user opened or closed, kept by the shell across rebuilds of the panel. A
// choice holds only for the kind of group it was made on: an agent closed while it worked opens
// again once it has gone idle and come back to work.
struct GroupDisclosure {
    struct Choice {
        bool isOpen = false;
        PanelGroup::Kind kind = PanelGroup::Kind::active;

        bool operator==(const Choice&) const = default;
    };

    // By the group's id.
    std::unordered_map<std::string, Choice> choices;
    // The row for further idle agents.
    bool moreIdleOpen = false;

    // The user's choice for the group, or open for an active group and closed for an idle one.
    bool isOpen(const PanelGroup& group) const;
    void choose(const PanelGroup& group, bool open);
    // Forgets the choices whose group changed its kind since; groups not shown keep theirs.
    void settle(const std::vector<PanelGroup>& groups);

    bool operator==(const GroupDisclosure&) const = default;
};

}  // namespace vigilmoth
