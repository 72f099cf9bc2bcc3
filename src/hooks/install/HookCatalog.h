#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "evidence/StateReport.h"
#include "hooks/HookLocation.h"

namespace vigilmoth {

struct HookCatalogEntry {
    // How the agent declares its hooks.
    struct Format {
        enum class Kind { jsonHookGroups, jsonFlatHooks, pluginFile };

        Kind kind = Kind::pluginFile;
        // The members from the document's root to the object that maps events to handlers.
        std::vector<std::string> keyPath;

        static Format jsonHookGroups(std::vector<std::string> keyPath) {
            return {Kind::jsonHookGroups, std::move(keyPath)};
        }
        static Format jsonFlatHooks(std::vector<std::string> keyPath) {
            return {Kind::jsonFlatHooks, std::move(keyPath)};
        }
        static Format pluginFile() { return {Kind::pluginFile, {}}; }

        bool operator==(const Format&) const = default;
    };

    std::string id;
    std::string displayName;
    // Relative to the home folder.
    std::string configPath;
    Format format;
    // The states the hook lets vigilmoth learn that the agent's own files do not tell.
    std::vector<ReportedState> adds;
    std::string benefit;
    std::optional<std::string> afterInstall;
    // Which documentation the entry was checked against; shown nowhere.
    std::string confirmedBy;

    bool operator==(const HookCatalogEntry&) const = default;
};

namespace HookCatalog {

inline constexpr std::string_view kHookExecutableSuffix = HookLocation::executableSuffix();
inline constexpr int kOpencodePluginVersion = 3;
inline constexpr int kPiExtensionVersion = 3;

const std::vector<HookCatalogEntry>& entries();
const HookCatalogEntry* entry(std::string_view id);

// The hook executable inside the application at `appPath`; every command and script runs it.
std::string hookExecutable(std::string_view appPath);

// The shell command of one handler. It never fails the agent's hook: a missing application
// makes the test fail quietly and "|| true" keeps the status 0.
std::string command(std::string_view agent, std::string_view event, std::string_view appPath);

// The current plugin script for opencode, and the current extension for Pi.
std::string pluginSource(std::string_view appPath);
std::string piExtensionSource(std::string_view appPath);

}  // namespace HookCatalog
}  // namespace vigilmoth
