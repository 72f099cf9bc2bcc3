// The hook executable that agents' hooks run: its whole run is PosixHook's, over this system's
// census and folders.
#include <memory>
#include <string>
#include <vector>

#include "hook/PosixHook.h"
#include "platform/posix/SystemPathEnvironment.h"
#if defined(__APPLE__)
#include "platform/macos/SystemProcessCensus.h"
#else
#include "platform/linux/SystemProcessCensus.h"
#endif

int main(int argc, char** argv) {
    using namespace vigilmoth;
    std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return PosixHook::main(arguments, [] {
        return PosixHook::System{std::make_unique<SystemProcessCensus>(), systemPathEnvironment()};
    });
}
