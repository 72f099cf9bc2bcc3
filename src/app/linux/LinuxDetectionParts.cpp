#include "app/linux/LinuxDetectionParts.h"

#include "hooks/HookEvents.h"

namespace vigilmoth {

LinuxDetectionParts::LinuxDetectionParts(asio::io_context& loop, CollectorMaker makeCollector)
    : collector_(makeCollector()),
      watcher_(std::make_unique<SystemDetectionWatcher>(loop)),
      scheduler_(std::make_unique<AsioDetectionScheduler>(loop)) {}

std::unique_ptr<EvidenceCollecting> LinuxDetectionParts::systemCollector() {
    auto sources = EvidenceCollector::Sources::system();
    sources.hookAgent = HookEvents::hookAgent;
    return std::make_unique<EvidenceCollector>(std::move(sources));
}

}  // namespace vigilmoth
