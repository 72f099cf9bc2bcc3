#pragma once

#include <asio/io_context.hpp>
#include <functional>
#include <memory>

#include "app/linux/LinuxDetectionParts.h"
#include "lab/LabLiveLoop.h"
#include "platform/linux/AsioBus.h"
#include "platform/linux/Logind.h"
#include "platform/linux/LogindSleepNotices.h"

namespace vigilmoth {

// The live loop of --lab-record on Linux: one Asio loop for the engine's decisions, watches
// and sleep notices, with the collection on the scheduler's worker thread. Nothing is built
// until the recording asks for it, so the other lab commands pay nothing for it.
class LinuxLabLiveLoop final : public LabLiveLoop {
public:
    using CollectorMaker = LinuxDetectionParts::CollectorMaker;

    explicit LinuxLabLiveLoop(CollectorMaker makeCollector)
        : makeCollector_(std::move(makeCollector)) {}

    DetectionEngine::Parts engineParts() override;
    SleepNoticing* sleepNotices() override;
    void runUntilStopped() override;
    double processCPUSeconds() override;

    // What a recording's header says of this system: "Linux" and the kernel's release, and the
    // machine's product name from its firmware tables.
    static std::string osVersion();
    static std::string model();

private:
    CollectorMaker makeCollector_;
    asio::io_context loop_;
    std::unique_ptr<LinuxDetectionParts> parts_;
    std::unique_ptr<AsioBus> bus_;
    std::unique_ptr<LogindReach> logind_;
    std::unique_ptr<LogindSleepNotices> notices_;
};

}  // namespace vigilmoth
