#include "hooks/install/HookPluginHistory.h"

#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookScripts.h"

namespace vigilmoth::HookPluginHistory {

std::optional<int> version(std::string_view source) {
    if (!source.starts_with(kMarker)) return std::nullopt;
    std::string_view rest = source.substr(kMarker.size());
    rest = rest.substr(0, rest.find('\n'));
    if (rest.empty() || rest.size() > 6) return std::nullopt;
    int value = 0;
    for (char c : rest) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

std::optional<std::string> source(std::string_view entryID, int version, std::string_view appPath) {
    if (entryID == "opencode" && version >= 1 && version < HookCatalog::kOpencodePluginVersion) {
        return HookScripts::opencodePlugin(version, appPath);
    }
    if (entryID == "pi" && version >= 1 && version < HookCatalog::kPiExtensionVersion) {
        return HookScripts::piExtension(version, appPath);
    }
    return std::nullopt;
}

}  // namespace vigilmoth::HookPluginHistory
