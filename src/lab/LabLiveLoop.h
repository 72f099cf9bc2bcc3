#pragma once

#include "decision/DetectionEngine.h"
#include "power/SleepNotices.h"

namespace vigilmoth {

// The system's side of --lab-record: the detection engine's collaborators on the platform's
// own loop, which runs until an interrupt or terminate signal. The engine itself is the
// application's, so a recording is made by the code that holds the machine awake.
class LabLiveLoop {
public:
    virtual ~LabLiveLoop() = default;
    virtual DetectionEngine::Parts engineParts() = 0;
    // The system's sleep notices for the wake gate; nothing where the system gives none.
    virtual SleepNoticing* sleepNotices() = 0;
    // Returns once SIGINT or SIGTERM has arrived; the engine's work runs meanwhile.
    virtual void runUntilStopped() = 0;
    // The process's user and system CPU seconds so far.
    virtual double processCPUSeconds() = 0;
};

}  // namespace vigilmoth
