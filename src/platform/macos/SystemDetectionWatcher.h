#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <dispatch/dispatch.h>

#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "evidence/DetectionWatching.h"
#include "platform/macos/FileWatch.h"

namespace vigilmoth {

// The engine's watches: a vnode FileWatch per file and a process-exit dispatch source per
// process, whose events arrive on the serial queue "com.vigilmoth.app.detection.watch". The
// tables are guarded by a lock, since the engine calls from the main thread.
class SystemDetectionWatcher final : public DetectionWatching {
public:
    SystemDetectionWatcher();
    ~SystemDetectionWatcher() override;
    SystemDetectionWatcher(const SystemDetectionWatcher&) = delete;
    SystemDetectionWatcher& operator=(const SystemDetectionWatcher&) = delete;

    void watch(const std::set<std::string>& files,
               const std::unordered_set<ProcessIdentity>& processes,
               std::function<void()> onEvent) override;
    void stop() override;

    using Handler = std::function<void()>;

private:
    void stopLocked();

    dispatch_queue_t queue_;
    std::mutex lock_;
    // Shared with the sources' contexts, which call whatever handler is current.
    std::shared_ptr<Handler> onEvent_ = std::make_shared<Handler>();
    std::map<std::string, std::unique_ptr<FileWatch>> files_;
    std::unordered_map<ProcessIdentity, dispatch_source_t> processes_;
};

}  // namespace vigilmoth
