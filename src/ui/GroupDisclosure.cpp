#include "ui/GroupDisclosure.h"

namespace vigilmoth {

bool GroupDisclosure::isOpen(const PanelGroup& group) const {
    const auto kind = group.kind();
    const auto found = choices.find(group.header.id);
    if (found != choices.end() && found->second.kind == kind) return found->second.isOpen;
    return kind == PanelGroup::Kind::active;
}

void GroupDisclosure::choose(const PanelGroup& group, bool open) {
    choices[group.header.id] = {open, group.kind()};
}

void GroupDisclosure::settle(const std::vector<PanelGroup>& groups) {
    for (const auto& group : groups) {
        const auto found = choices.find(group.header.id);
        if (found != choices.end() && found->second.kind != group.kind()) choices.erase(found);
    }
}

}  // namespace vigilmoth
