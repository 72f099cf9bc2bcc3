#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vigilmoth::HookPluginHistory {

inline constexpr std::string_view kMarker = "// vigilmoth-hook v=";

// The version after the marker on the first line, when the text starts with the marker.
std::optional<int> version(std::string_view source);

// The exact text that an earlier template version had for the entry and application path
// (opencode 1 and 2, Pi 1 and 2), so that an installed old copy is known as vigilmoth's own.
std::optional<std::string> source(std::string_view entryID, int version, std::string_view appPath);

}  // namespace vigilmoth::HookPluginHistory
