#pragma once

#include <string>
#include <string_view>

namespace vigilmoth::HookScripts {

// The texts of every template version; `HookCatalog` hands out the current ones and
// `HookPluginHistory` the earlier ones.
std::string opencodePlugin(int version, std::string_view appPath);
std::string piExtension(int version, std::string_view appPath);

}  // namespace vigilmoth::HookScripts
