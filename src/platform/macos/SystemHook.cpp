// The hook executable on macOS: the sysctl census and the home folder.
#if !defined(__APPLE__)
#error "This is the macOS hook executable."
#endif

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "hook/HookPlatform.h"
#include "platform/macos/SystemProcessCensus.h"
#include "platform/posix/PosixHook.h"

namespace vigilmoth {
namespace {

// HOME as the agent passed it, else the user's home from the directory services (getpwuid).
std::string homeFolder() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') return home;
    const passwd* entry = ::getpwuid(::getuid());
    return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : "";
}

}  // namespace

int HookPlatform::main(const std::vector<std::string>& arguments) {
    return PosixHook::main(arguments, [] {
        PathEnvironment paths;
        paths.home = homeFolder();
        paths.userID = static_cast<unsigned>(::getuid());
        return PosixHook::System{std::make_unique<SystemProcessCensus>(), paths};
    });
}

}  // namespace vigilmoth
