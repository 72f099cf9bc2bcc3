// The hook executable on Linux: the /proc census and the XDG folders.
#include "hook/HookPlatform.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/posix/PosixHook.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {

int HookPlatform::main(const std::vector<std::string>& arguments) {
    return PosixHook::main(arguments, [] {
        return PosixHook::System{std::make_unique<SystemProcessCensus>(), systemPathEnvironment()};
    });
}

}  // namespace vigilmoth
