#include "platform/posix/SystemPathEnvironment.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace vigilmoth {
namespace {

std::optional<std::string> environmentValue(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

// HOME wins, as it does for every shell tool; the password database covers a bare environment.
std::string homeFolder() {
    if (auto home = environmentValue("HOME"); home && !home->empty()) return *home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        return entry->pw_dir;
    }
    return "/";
}

}  // namespace

PathEnvironment systemPathEnvironment() {
    PathEnvironment environment;
    environment.home = homeFolder();
    environment.xdgDataHome = environmentValue("XDG_DATA_HOME");
    environment.xdgConfigHome = environmentValue("XDG_CONFIG_HOME");
    environment.xdgRuntimeDir = environmentValue("XDG_RUNTIME_DIR");
    environment.userID = static_cast<unsigned>(getuid());
    return environment;
}

}  // namespace vigilmoth
