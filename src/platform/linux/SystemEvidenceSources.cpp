#include "platform/linux/SystemEvidenceSources.h"

#include <cstdlib>

#include "evidence/HookStateFile.h"
#include "platform/linux/SystemAwakeClock.h"
#include "platform/linux/SystemOpenFiles.h"
#include "platform/linux/SystemPowerContext.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/linux/SystemSessions.h"
#include "platform/posix/SystemFileAccess.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {

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
    sources.awakeSeconds = [] { return std::optional(SystemAwakeClock::awake()); };
    sources.monotonicSeconds = SystemAwakeClock::awake;
    return sources;
}

EvidenceCollector::Sources EvidenceCollector::Sources::system() {
    return systemEvidenceSources();
}

}  // namespace vigilmoth
