#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "evidence/StateReport.h"

namespace vigilmoth {

// What one of an agent's events means for the state of its session.
struct HookAction {
    enum class Kind { set, end, ignore };

    Kind kind = Kind::ignore;
    // Only for `set`.
    std::optional<ReportedState> state;

    static HookAction set(ReportedState state) { return {Kind::set, state}; }
    static HookAction end() { return {Kind::end, std::nullopt}; }
    static HookAction ignore() { return {Kind::ignore, std::nullopt}; }

    bool operator==(const HookAction&) const = default;
};

namespace HookEvents {

struct Rule {
    std::string event;
    HookAction action;
    // For events that carry a notification type, the type chooses the action.
    std::map<std::string, HookAction> byNotificationType;
    // Written into the handler group when present.
    std::optional<std::string> matcher;

    bool operator==(const Rule&) const = default;
};

// The rules of every hook entry, in installation order.
const std::map<std::string, std::vector<Rule>>& rules();
// The rules of one entry; empty for an id without an entry.
const std::vector<Rule>& rules(std::string_view entryID);

// The catalog definition ids that each hook entry serves.
const std::map<std::string, std::set<std::string>>& definitionIDs();

// The hook entry that serves a catalog definition, if any.
std::optional<std::string> hookAgent(std::string_view definitionID);

// The action for an agent's event: the rule's own action, or the one its notification type
// chooses. An event without a rule means nothing.
HookAction meaning(std::string_view entryID, std::string_view event,
                   const std::optional<std::string>& notificationType = std::nullopt);

}  // namespace HookEvents
}  // namespace vigilmoth
