#include "hooks/HookLocation.h"

namespace vigilmoth::HookLocation {
namespace {

// The path without its last `levels` components (and the separators before them).
std::string_view parent(std::string_view path, int levels) {
    for (int i = 0; i < levels; ++i) {
        while (path.size() > 1 && path.back() == '/')
            path.remove_suffix(1);
        auto slash = path.rfind('/');
        if (slash == std::string_view::npos) return ".";
        path = slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
    }
    return path;
}

}  // namespace

std::string appPath(std::string_view executablePath, HostPlatform platform) {
    // macOS: <bundle>/Contents/MacOS/vigilmoth; Linux: <prefix>/bin/vigilmoth.
    return std::string(parent(executablePath, platform == HostPlatform::macos ? 3 : 2));
}

}  // namespace vigilmoth::HookLocation
