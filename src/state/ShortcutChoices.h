#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include "base/KeyValueStore.h"
#include "base/Shortcut.h"

namespace vigilmoth {

// The user's global shortcuts: the ones recorded, the actions cleared, and the defaults.
struct ShortcutChoices {
    std::map<ShortcutAction, Shortcut> recorded;
    std::set<ShortcutAction> cleared;
    std::map<ShortcutAction, Shortcut> defaults = {
        {ShortcutAction::toggle, Shortcut::american(ShortcutAction::toggle)},
        {ShortcutAction::pauseOneHour, Shortcut::american(ShortcutAction::pauseOneHour)}};

    // The recorded one, else none for a cleared action, else the default.
    std::optional<Shortcut> shortcut(ShortcutAction action) const;

    bool operator==(const ShortcutChoices&) const = default;
};

// The choices under "Shortcuts" (the JSON text of the recorded ones by action) and
// "ShortcutsCleared"; what cannot be read counts as nothing recorded or cleared.
namespace ShortcutStore {
ShortcutChoices load(const KeyValueStore& store);
void save(const ShortcutChoices& choices, KeyValueStore& store);
}  // namespace ShortcutStore

namespace ShortcutRules {
// The modifiers as the system writes them, "⌃⌥⇧⌘" in that order.
std::string symbols(int modifiers);
// A combination the system keeps for itself whatever its settings say.
bool reserved(const Shortcut& shortcut);
}  // namespace ShortcutRules

}  // namespace vigilmoth
