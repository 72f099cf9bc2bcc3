#include "state/ShortcutChoices.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/DefaultsKeys.h"

namespace vigilmoth {
namespace {

constexpr std::array<std::pair<ShortcutAction, std::string_view>, 2> kActionNames = {
    {{ShortcutAction::toggle, "toggle"}, {ShortcutAction::pauseOneHour, "pauseOneHour"}}};

std::optional<ShortcutAction> actionNamed(std::string_view name) {
    for (const auto& [action, actionName] : kActionNames)
        if (actionName == name) return action;
    return std::nullopt;
}

std::string nameOf(ShortcutAction action) {
    for (const auto& [named, name] : kActionNames)
        if (named == action) return std::string(name);
    return {};
}

std::optional<Shortcut> decoded(const nlohmann::json& value) {
    if (!value.is_object()) return std::nullopt;
    const auto code = value.find("keyCode");
    const auto modifiers = value.find("modifiers");
    const auto key = value.find("key");
    if (code == value.end() || !code->is_number_unsigned() || *code > 0xFFFF ||
        modifiers == value.end() || !modifiers->is_number_integer() || key == value.end() ||
        !key->is_string())
        return std::nullopt;
    return Shortcut{code->get<std::uint16_t>(), modifiers->get<int>(), key->get<std::string>()};
}

}  // namespace

std::optional<Shortcut> ShortcutChoices::shortcut(ShortcutAction action) const {
    if (const auto found = recorded.find(action); found != recorded.end()) return found->second;
    if (cleared.contains(action)) return std::nullopt;
    const auto fallback = defaults.find(action);
    if (fallback == defaults.end()) return std::nullopt;
    return fallback->second;
}

ShortcutChoices ShortcutStore::load(const KeyValueStore& store) {
    ShortcutChoices choices;
    if (const auto text = store.stringValue(defaults_keys::shortcuts)) {
        const auto json = nlohmann::json::parse(*text, nullptr, false);
        if (json.is_object())
            for (const auto& [name, value] : json.items())
                if (const auto action = actionNamed(name))
                    if (auto shortcut = decoded(value)) choices.recorded[*action] = *shortcut;
    }
    if (const auto cleared = store.value(defaults_keys::shortcutsCleared);
        cleared && cleared->is_array())
        for (const auto& name : *cleared)
            if (name.is_string())
                if (const auto action = actionNamed(name.get<std::string>()))
                    choices.cleared.insert(*action);
    return choices;
}

void ShortcutStore::save(const ShortcutChoices& choices, KeyValueStore& store) {
    if (choices.cleared.empty()) {
        store.remove(defaults_keys::shortcutsCleared);
    } else {
        auto names = nlohmann::json::array();
        for (const auto action : choices.cleared)
            names.push_back(nameOf(action));
        store.set(defaults_keys::shortcutsCleared, names);
    }
    if (choices.recorded.empty()) {
        store.remove(defaults_keys::shortcuts);
        return;
    }
    auto json = nlohmann::json::object();
    for (const auto& [action, shortcut] : choices.recorded)
        json[nameOf(action)] = {{"keyCode", shortcut.keyCode},
                                {"modifiers", shortcut.modifiers},
                                {"key", shortcut.key}};
    store.set(defaults_keys::shortcuts, json.dump());
}

std::string ShortcutRules::symbols(int modifiers) {
    std::string text;
    if (modifiers & Shortcut::control) text += "⌃";
    if (modifiers & Shortcut::option) text += "⌥";
    if (modifiers & Shortcut::shift) text += "⇧";
    if (modifiers & Shortcut::command) text += "⌘";
    return text;
}

bool ShortcutRules::reserved(const Shortcut& shortcut) {
    static const std::set<std::string> kReserved = [] {
        std::set<std::string> combinations;
        const auto add = [&](std::string_view modifiers, std::initializer_list<const char*> keys) {
            for (const auto* key : keys)
                combinations.insert(std::string(modifiers) + key);
        };
        add("⌘", {"Q", "W", "H", "M", "C", "V", "X", "A", "Z", "S", "N", "O", "P", "F", "T", ",",
                  "`", "⇥", "Space"});
        add("⇧⌘", {"Z", "Q", "3", "4", "5", "⇥"});
        add("⌥⌘", {"⎋", "D", "Space"});
        add("⌃⌘", {"Q", "F", "Space"});
        add("⌃", {"←", "→", "↑", "↓"});
        return combinations;
    }();
    return kReserved.contains(symbols(shortcut.modifiers) + shortcut.key);
}

}  // namespace vigilmoth
