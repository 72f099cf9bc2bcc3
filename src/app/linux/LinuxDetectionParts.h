#pragma once

#include <asio/io_context.hpp>
#include <functional>
#include <memory>

#include "evidence/EvidenceCollector.h"
#include "platform/linux/AsioDetectionScheduler.h"
#include "platform/linux/SystemDetectionWatcher.h"

namespace vigilmoth {

// The live detection engine's Linux collaborators on one Asio loop: the collector over the
// system's sources, the watcher of files and processes, and the scheduler whose worker thread
// collects. The application and --lab-record both build the engine from these.
class LinuxDetectionParts {
public:
    using CollectorMaker = std::function<std::unique_ptr<EvidenceCollecting>()>;

    LinuxDetectionParts(asio::io_context& loop, CollectorMaker makeCollector);

    // The collector of the system's sources, with the hook catalog's lookup of hook files.
    static std::unique_ptr<EvidenceCollecting> systemCollector();

    EvidenceCollecting& collector() { return *collector_; }
    SystemDetectionWatcher& watcher() { return *watcher_; }
    AsioDetectionScheduler& scheduler() { return *scheduler_; }

private:
    // Declared in the order they are needed, so that they go in reverse: the scheduler's worker
    // ends before the collector it calls goes.
    std::unique_ptr<EvidenceCollecting> collector_;
    std::unique_ptr<SystemDetectionWatcher> watcher_;
    std::unique_ptr<AsioDetectionScheduler> scheduler_;
};

}  // namespace vigilmoth
