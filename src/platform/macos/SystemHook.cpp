// The hook executable on macOS: the sysctl census and the home folder.
#if !defined(__APPLE__)
#error "This is the macOS hook executable."
#endif

#include "hook/HookPlatform.h"
#include "platform/macos/SystemProcessCensus.h"
#include "platform/posix/PosixHook.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {

int HookPlatform::main(const std::vector<std::string>& arguments) {
    return PosixHook::main(arguments, [] {
        return PosixHook::System{std::make_unique<SystemProcessCensus>(), systemPathEnvironment()};
    });
}

}  // namespace vigilmoth
