#include "hooks/install/HookCatalog.h"

#include "hooks/install/HookScripts.h"

namespace vigilmoth::HookCatalog {
namespace {

using Format = HookCatalogEntry::Format;
constexpr ReportedState kWorking = ReportedState::working;
constexpr ReportedState kWaiting = ReportedState::waitingForUser;
constexpr ReportedState kIdle = ReportedState::idle;

std::vector<HookCatalogEntry> makeEntries() {
    return {
        {"claude",
         "Claude Code",
         ".claude/settings.json",
         Format::jsonHookGroups({"hooks"}),
         {kWaiting},
         "Tells vigilmoth when Claude Code is waiting for your permission.",
         std::nullopt,
         "Claude Code hooks reference; hook input captured from Claude Code 2.1.197"},
        {"codex",
         "Codex",
         ".codex/hooks.json",
         Format::jsonHookGroups({"hooks"}),
         {kWaiting},
         "Tells vigilmoth when Codex is waiting for your permission.",
         "One more step for Codex: type /hooks in Codex and approve vigilmoth.",
         "Codex hooks documentation; hook input captured from Codex 0.169.0"},
        {"droid",
         "Droid",
         ".factory/settings.json",
         Format::jsonHookGroups({"hooks"}),
         {kWorking, kWaiting, kIdle},
         "Tells vigilmoth when Droid is working, waiting for you or done.",
         std::nullopt,
         "Factory Droid hooks reference"},
        {"opencode",
         "opencode",
         ".config/opencode/plugins/vigilmoth.js",
         Format::pluginFile(),
         {kWorking, kWaiting, kIdle},
         "Tells vigilmoth when opencode is working, waiting for you or done.",
         "opencode loads the plugin the next time it starts.",
         "opencode plugins documentation; events captured from opencode 1.18.33"},
        {"pi",
         "Pi",
         ".pi/agent/extensions/vigilmoth.js",
         Format::pluginFile(),
         {kWorking, kWaiting, kIdle},
         // Without a final full stop, as the preferences have always shown it.
         "Lets vigilmoth see at once when Pi starts and stops working",
         "Pi loads the extension the next time it starts, or when you type /reload in Pi.",
         "Pi extension API types; events captured from Pi 0.73.1"},
        {"cursor",
         "Cursor",
         ".cursor/hooks.json",
         Format::jsonFlatHooks({"hooks"}),
         {},
         "Lets vigilmoth see at once when Cursor starts and stops working",
         std::nullopt,
         "Cursor hooks documentation"},
    };
}

// One shell word: single quotes, with each inner quote closed, escaped and reopened.
std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

}  // namespace

const std::vector<HookCatalogEntry>& entries() {
    static const auto table = makeEntries();
    return table;
}

const HookCatalogEntry* entry(std::string_view id) {
    for (const auto& candidate : entries()) {
        if (candidate.id == id) return &candidate;
    }
    return nullptr;
}

std::string hookExecutable(std::string_view appPath) {
    return std::string(appPath) + std::string(kHookExecutableSuffix);
}

std::string command(std::string_view agent, std::string_view event, std::string_view appPath) {
    std::string exe = shellQuoted(hookExecutable(appPath));
    return "[ -x " + exe + " ] && " + exe + " " + std::string(agent) + " " + std::string(event) +
           " v=1 || true";
}

std::string pluginSource(std::string_view appPath) {
    return HookScripts::opencodePlugin(kOpencodePluginVersion, appPath);
}

std::string piExtensionSource(std::string_view appPath) {
    return HookScripts::piExtension(kPiExtensionVersion, appPath);
}

}  // namespace vigilmoth::HookCatalog
