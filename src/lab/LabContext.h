#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "base/Date.h"
#include "base/KeyValueStore.h"
#include "catalog/ProcessCensus.h"
#include "lab/LabLiveLoop.h"
#include "lab/RecordingLocking.h"

namespace vigilmoth {

// What lab commands may use of the world. The platform's entry fills it in; tests build
// their own with string streams and temporary folders.
struct LabContext {
    std::ostream& out;
    std::ostream& err;
    // The live process table; absent where the platform offers none.
    ProcessCensusing* census = nullptr;
    // The user's home folder, where the agents' settings files live.
    std::string home = {};
    // vigilmoth's own folder for the files it writes (install records, hook state files).
    std::string applicationSupport = {};
    // The folder that the hook executable's path suffix hangs from (HookLocation).
    std::string appPath = {};
    // The folder that holds the recordings.
    std::string labDirectory = {};
    const RecordingLocking* recordingLock = nullptr;
    std::function<Date()> now = Date::now;
    // The user's settings, for the agents the user named; absent: none named.
    KeyValueStore* defaults = nullptr;
    // The live detection loop, for recording; absent where the platform runs none.
    LabLiveLoop* liveLoop = nullptr;
    // What a recording's header says this program and machine are.
    std::string appVersion = {};
    std::string osVersion = {};
    std::string model = "unknown";
};

}  // namespace vigilmoth
