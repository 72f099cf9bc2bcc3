#include "platform/macos/SystemEvidenceSources.h"

#include <mach/mach_time.h>

#include <cstdlib>

#include "evidence/HookStateFile.h"
#include "platform/macos/SystemOpenFiles.h"
#include "platform/macos/SystemPowerAssertions.h"
#include "platform/macos/SystemPowerContext.h"
#include "platform/macos/SystemProcessCensus.h"
#include "platform/macos/SystemSessions.h"
#include "platform/posix/SystemFileAccess.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth {
namespace {

// mach_absolute_time does not advance while the Mac sleeps: the awake clock.
double awakeSeconds() {
    static const double scale = [] {
        mach_timebase_info_data_t timebase{};
        mach_timebase_info(&timebase);
        return static_cast<double>(timebase.numer) / timebase.denom / 1e9;
    }();
    return static_cast<double>(mach_absolute_time()) * scale;
}

}  // namespace

EvidenceCollector::Sources systemEvidenceSources() {
    PathEnvironment paths = systemPathEnvironment();
    auto sources = EvidenceCollector::Sources::inHome(paths.home);
    sources.census = std::make_shared<SystemProcessCensus>();
    sources.assertions = std::make_shared<SystemPowerAssertions>();
    sources.power = std::make_shared<SystemPowerContext>();
    sources.openFiles = std::make_shared<SystemOpenFiles>();
    sources.sessions = std::make_shared<SystemSessions>();
    sources.files = std::make_shared<SystemFileAccess>();
    const char* hooksDir = std::getenv("VIGILMOTH_HOOKS_DIR");
    sources.hookDirectory = HookStateFile::directory(
        paths, hooksDir ? std::optional<std::string>(hooksDir) : std::nullopt);
    sources.awakeSeconds = [] { return std::optional(awakeSeconds()); };
    return sources;
}

EvidenceCollector::Sources EvidenceCollector::Sources::system() {
    return systemEvidenceSources();
}

}  // namespace vigilmoth
