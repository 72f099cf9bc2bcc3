#include "platform/linux/SystemEvidenceSources.h"

#include <time.h>

#include <cstdlib>

#include "evidence/HookStateFile.h"
#include "platform/linux/SystemOpenFiles.h"
#include "platform/linux/SystemPowerContext.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/linux/SystemSessions.h"
#include "platform/posix/SystemFileAccess.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {
namespace {

double clockSeconds(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

EvidenceCollector::Sources systemEvidenceSources(std::optional<std::string> busAddress) {
    PathEnvironment paths = systemPathEnvironment();
    BusAddress bus = busAddress ? BusAddress::at(*busAddress) : BusAddress::system();
    auto sources = EvidenceCollector::Sources::inHome(paths.home);
    sources.census = std::make_shared<SystemProcessCensus>();
    sources.assertions = std::make_shared<SystemPowerAssertions>(bus);
    sources.power = std::make_shared<SystemPowerContext>("/sys", bus);
    sources.openFiles = std::make_shared<SystemOpenFiles>();
    sources.sessions = std::make_shared<SystemSessions>(busAddress);
    sources.files = std::make_shared<SystemFileAccess>();
    const char* hooksDir = std::getenv("VIGILMOTH_HOOKS_DIR");
    sources.hookDirectory = HookStateFile::directory(
        paths, hooksDir ? std::optional<std::string>(hooksDir) : std::nullopt);
    // CLOCK_MONOTONIC stops while the machine is suspended; CLOCK_BOOTTIME would not.
    sources.awakeSeconds = [] { return std::optional(clockSeconds(CLOCK_MONOTONIC)); };
    sources.monotonicSeconds = [] { return clockSeconds(CLOCK_MONOTONIC); };
    return sources;
}

EvidenceCollector::Sources EvidenceCollector::Sources::system() {
    return systemEvidenceSources();
}

}  // namespace vigilmoth
