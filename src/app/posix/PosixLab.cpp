#include "app/posix/PosixLab.h"

#include <iostream>

#include "app/posix/SystemRecordingLock.h"
#include "lab/LabCommand.h"
#include "lab/LabRecorder.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth::PosixLab {

bool run(const std::vector<std::string>& arguments, const Services& services) {
    auto paths = systemPathEnvironment();
    SystemRecordingLock recordingLock;
    LabContext context{
        .out = std::cout,
        .err = std::cerr,
        .census = &services.census,
        .home = paths.home,
        .applicationSupport = WellKnownPaths::applicationSupport(paths),
        .appPath = services.appPath,
        .labDirectory = LabRecorder::labDirectory(paths),
        .recordingLock = &recordingLock,
        .defaults = &services.defaults,
        .liveLoop = services.liveLoop,
        .appVersion = VIGILMOTH_VERSION,
        .osVersion = services.osVersion,
        .model = services.model,
    };
    bool succeeded = LabCommand::run(arguments, context);
    std::cout.flush();
    std::cerr.flush();
    return succeeded;
}

}  // namespace vigilmoth::PosixLab
