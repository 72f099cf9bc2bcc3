// The Linux shell: the entry's platform services and the running application.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <thread>

#include "app/Platform.h"
#include "app/linux/LinuxApplication.h"
#include "app/linux/LinuxLabLiveLoop.h"
#include "app/linux/LinuxSmokeTest.h"
#include "app/posix/PosixLab.h"
#include "hooks/HookLocation.h"
#include "platform/linux/FileKeyValueStore.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/linux/SystemSingleCopy.h"
#include "platform/posix/OpenFileLimit.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth::Platform {
namespace {

SystemSingleCopy& singleCopy() {
    static SystemSingleCopy copy(WellKnownPaths::runtime(systemPathEnvironment()));
    return copy;
}

// The install prefix above this executable's bin/, which also holds libexec/ in the build tree.
std::string ownAppPath() {
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : HookLocation::appPath(executable.string());
}

}  // namespace

CopyCoordination copyCoordination() {
    return CopyCoordination{
        .otherCopies = [] { return singleCopy().otherCopies(); },
        .postShowPreferences = [] { singleCopy().askToComeForward(); },
        // The request above is how a Linux copy is brought forward; there is nothing more to do.
        .activate = [](int) {},
        .sleep =
            [](double seconds) {
                std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
            },
    };
}

int runApplication() {
    installSystemLogSink();
    raiseOpenFileLimit();
    LinuxApplication application(
        {.copySocket = singleCopy().socketPath(), .appPath = ownAppPath()});
    application.run();
    return 0;
}

int runSmokeTest(double seconds) {
    return LinuxSmokeTest::run(seconds, ownAppPath());
}

int runDisplayProbe(double) {
    std::fputs("The display probe needs a Mac's built-in display.\n", stderr);
    return 1;
}

bool runLab(const std::vector<std::string>& arguments) {
    installSystemLogSink();
    raiseOpenFileLimit();
    SystemProcessCensus census;
    FileKeyValueStore defaults(FileKeyValueStore::defaultPath());
    LinuxLabLiveLoop liveLoop(LinuxDetectionParts::systemCollector);
    return PosixLab::run(arguments, {.census = census,
                                     .defaults = defaults,
                                     .appPath = ownAppPath(),
                                     .liveLoop = &liveLoop,
                                     .osVersion = LinuxLabLiveLoop::osVersion(),
                                     .model = LinuxLabLiveLoop::model()});
}

}  // namespace vigilmoth::Platform
