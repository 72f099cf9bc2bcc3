#include "base/WellKnownPaths.h"

namespace vigilmoth {
namespace {

// XDG says a relative or empty value is to be ignored.
std::optional<std::string> absolute(const std::optional<std::string>& path) {
    if (!path || path->empty() || path->front() != '/') return std::nullopt;
    return path;
}

std::string configHome(const PathEnvironment& environment) {
    return absolute(environment.xdgConfigHome).value_or(environment.home + "/.config");
}

}  // namespace

namespace WellKnownPaths {

std::string applicationSupport(const PathEnvironment& environment, HostPlatform platform) {
    if (platform == HostPlatform::macos) {
        return environment.home + "/Library/Application Support/" + std::string(kBundleIdentifier);
    }
    std::string data =
        absolute(environment.xdgDataHome).value_or(environment.home + "/.local/share");
    return data + "/" + std::string(kBundleIdentifier);
}

std::string configuration(const PathEnvironment& environment) {
    return configHome(environment) + "/" + std::string(kBundleIdentifier);
}

std::string autostartEntry(const PathEnvironment& environment) {
    return configHome(environment) + "/autostart/vigilmoth.desktop";
}

std::string runtime(const PathEnvironment& environment) {
    if (auto runtimeDir = absolute(environment.xdgRuntimeDir)) {
        return *runtimeDir + "/" + std::string(kBundleIdentifier);
    }
    return "/tmp/" + std::string(kBundleIdentifier) + "-" + std::to_string(environment.userID);
}

}  // namespace WellKnownPaths
}  // namespace vigilmoth
