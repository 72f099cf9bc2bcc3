#include "base/WellKnownPaths.h"

namespace vigilmoth {
namespace {

// XDG says a relative or empty value is to be ignored.
std::optional<std::string> absolute(const std::optional<std::string>& path) {
    if (!path || path->empty() || path->front() != '/') return std::nullopt;
    return path;
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
    std::string config =
        absolute(environment.xdgConfigHome).value_or(environment.home + "/.config");
    return config + "/" + std::string(kBundleIdentifier);
}

std::string runtime(const PathEnvironment& environment) {
    if (auto runtimeDir = absolute(environment.xdgRuntimeDir)) {
        return *runtimeDir + "/" + std::string(kBundleIdentifier);
    }
    return "/tmp/" + std::string(kBundleIdentifier) + "-" + std::to_string(environment.userID);
}

}  // namespace WellKnownPaths
}  // namespace vigilmoth
