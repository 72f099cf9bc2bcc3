#pragma once

#include <string>
#include <string_view>

#include "base/WellKnownPaths.h"

namespace vigilmoth::HookLocation {

// Where the hook executable lies below the application's folder: inside the bundle on macOS,
// in the install prefix's libexec on Linux (the build tree has the same layout). A handler is
// recognised as vigilmoth's by this suffix, whatever folder precedes it.
constexpr std::string_view executableSuffix(HostPlatform platform = kHostPlatform) {
    return platform == HostPlatform::macos ? "/Contents/MacOS/VigilmothHook"
                                           : "/libexec/vigilmoth/VigilmothHook";
}

// The application's folder for the path of the running vigilmoth executable: the bundle that
// holds Contents/MacOS on macOS, the folder above bin/ on Linux.
std::string appPath(std::string_view executablePath, HostPlatform platform = kHostPlatform);

}  // namespace vigilmoth::HookLocation
