#include "decision/DetectionSettingsStore.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "base/DefaultsKeys.h"

namespace vigilmoth::DetectionSettingsStore {

namespace {

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return std::tolower(character); });
    return text;
}

std::set<std::string> lowercasedSet(const std::vector<std::string>& names) {
    std::set<std::string> set;
    for (const auto& name : names)
        set.insert(lowercased(name));
    return set;
}

// The settings are kept as the JSON text of the record, the way the platform keeps data.
std::optional<DetectionSettings> storedSettings(const KeyValueStore& store) {
    auto stored = store.value(defaults_keys::detectionSettings);
    if (!stored) return std::nullopt;
    if (stored->is_string()) return decodeJSONText<DetectionSettings>(stored->get<std::string>());
    return std::nullopt;
}

// An array holding anything but strings counts as absent.
std::optional<std::vector<std::string>> stringArray(const KeyValueStore& store,
                                                    const std::string& key) {
    auto stored = store.value(key);
    if (!stored || !stored->is_array()) return std::nullopt;
    std::vector<std::string> strings;
    for (const auto& element : *stored) {
        if (!element.is_string()) return std::nullopt;
        strings.push_back(element.get<std::string>());
    }
    return strings;
}

bool removedFromAllowlist(const AgentDefinition& definition, const std::set<std::string>& allowed,
                          const std::set<std::string>& known) {
    const auto names = definition.processNames();
    if (names.empty()) return false;
    bool allKnown = std::all_of(names.begin(), names.end(),
                                [&](const std::string& name) { return known.contains(name); });
    bool noneAllowed = std::none_of(names.begin(), names.end(), [&](const std::string& name) {
        return allowed.contains(name);
    });
    return allKnown && noneAllowed;
}

}  // namespace

DetectionSettings load(KeyValueStore& store, const AgentCatalog& catalog) {
    std::optional<DetectionSettings> settings = storedSettings(store);
    if (!settings) {
        if (auto allowlist = stringArray(store, defaults_keys::legacyAllowlist)) {
            auto knownDefaults = stringArray(store, defaults_keys::legacyKnownDefaults);
            settings = migrated(*allowlist, knownDefaults, catalog);
            save(*settings, store);
        }
    }
    store.remove(defaults_keys::legacyAllowlist);
    store.remove(defaults_keys::legacyKnownDefaults);
    return settings.value_or(DetectionSettings{});
}

void save(const DetectionSettings& settings, KeyValueStore& store) {
    std::string text;
    try {
        text = encodeJSONText(settings);
    } catch (const CodingError&) {
        return;
    }
    store.set(defaults_keys::detectionSettings, text);
}

DetectionSettings migrated(const std::vector<std::string>& allowlist,
                           const std::optional<std::vector<std::string>>& knownDefaults,
                           const AgentCatalog& catalog) {
    DetectionSettings settings;
    auto cliNames = catalog.cliNames();
    for (const auto& entry : allowlist) {
        if (cliNames.contains(lowercased(entry))) continue;
        auto& names = settings.userAgentNames;
        if (std::find(names.begin(), names.end(), entry) == names.end()) names.push_back(entry);
    }
    auto allowed = lowercasedSet(allowlist);
    auto known = lowercasedSet(knownDefaults.value_or(std::vector<std::string>{}));
    for (const auto& definition : catalog.definitions) {
        // Claude Code is never migrated to "ignore", whatever the old list said.
        if (definition.kind != AgentDefinition::Kind::cli || definition.id == "claude") continue;
        if (removedFromAllowlist(definition, allowed, known)) {
            settings.agentRules[definition.id] = AgentRule::ignore;
        }
    }
    return settings;
}

}  // namespace vigilmoth::DetectionSettingsStore
