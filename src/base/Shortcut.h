#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace vigilmoth {

// The two things a global shortcut can do, in the order they are registered.
enum class ShortcutAction { toggle, pauseOneHour };

// A key combination. `key` is the label the user sees; combinations compare by `keys()`.
struct Shortcut {
    enum Modifier : int { control = 1, option = 2, shift = 4, command = 8 };
    struct Keys {
        std::uint16_t keyCode = 0;
        int modifiers = 0;
        auto operator<=>(const Keys&) const = default;
    };

    std::uint16_t keyCode = 0;
    int modifiers = 0;
    std::string key;

    Keys keys() const { return {keyCode, modifiers}; }
    // Shift alone would take a key away from typing in every application.
    bool hasModifier() const { return (modifiers & (command | option | control)) != 0; }
    // The defaults on a US keyboard: ⌃⌥⌘C switches, ⌃⌥⌘P pauses for an hour.
    static Shortcut american(ShortcutAction action) {
        constexpr int all = control | option | command;
        return action == ShortcutAction::toggle ? Shortcut{8, all, "C"} : Shortcut{35, all, "P"};
    }
    bool operator==(const Shortcut&) const = default;
};

// Why an action's shortcut is not in force.
enum class ShortcutProblem { needsModifier, usedBySystem, usedTwice, usedByAnotherApp };

// The system-wide hot keys.
class HotKeyRegistering {
public:
    virtual ~HotKeyRegistering() = default;
    // Replaces the action's registration; none removes it. False when the system refused it.
    virtual bool registerShortcut(const std::optional<Shortcut>& shortcut, ShortcutAction action,
                                  std::function<void()> onPress) = 0;
    virtual void unregisterAll() = 0;
    // The system's own enabled shortcuts.
    virtual std::set<Shortcut::Keys> systemShortcuts() = 0;
};

}  // namespace vigilmoth
