#pragma once

#include <optional>
#include <string>

namespace vigilmoth {

enum class HostPlatform { linux, macos };

#if defined(__APPLE__)
inline constexpr HostPlatform kHostPlatform = HostPlatform::macos;
#else
inline constexpr HostPlatform kHostPlatform = HostPlatform::linux;
#endif

inline constexpr std::string_view kBundleIdentifier = "com.vigilmoth.app";

// The parts of the process environment that decide where vigilmoth's files live.
// Tests build one by hand; the program reads its own through the platform
// (`systemPathEnvironment`).
struct PathEnvironment {
    std::string home;
    std::optional<std::string> xdgDataHome;
    std::optional<std::string> xdgConfigHome;
    std::optional<std::string> xdgRuntimeDir;
    unsigned userID = 0;

    bool operator==(const PathEnvironment&) const = default;
};

namespace WellKnownPaths {

// The folder for the files vigilmoth writes itself (install records, lab recordings, traces).
std::string applicationSupport(const PathEnvironment& environment,
                               HostPlatform platform = kHostPlatform);

// The folder for the settings file of the Linux key-value store.
std::string configuration(const PathEnvironment& environment);

// The desktop's autostart entry that opens vigilmoth at login on Linux.
std::string autostartEntry(const PathEnvironment& environment);

// The per-user folder for the single-copy lock and its socket: the runtime folder when the
// session has one, else a private folder under /tmp named by the user id.
std::string runtime(const PathEnvironment& environment);

}  // namespace WellKnownPaths
}  // namespace vigilmoth
