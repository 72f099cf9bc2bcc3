#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <dispatch/dispatch.h>

#include "base/DetectionScheduling.h"

namespace vigilmoth {

// The detection engine's ticks as one-shot dispatch timers on the serial queue
// "com.vigilmoth.app.detection" (utility quality of service), so collections run one at a
// time off the main thread; decisions go to the main queue.
class DispatchDetectionScheduler final : public DetectionScheduling {
public:
    DispatchDetectionScheduler();
    ~DispatchDetectionScheduler() override;
    DispatchDetectionScheduler(const DispatchDetectionScheduler&) = delete;
    DispatchDetectionScheduler& operator=(const DispatchDetectionScheduler&) = delete;

    std::unique_ptr<DetectionCancellable> schedule(double seconds, double leeway,
                                                   std::function<void()> work) override;
    void onMain(std::function<void()> work) override;

private:
    dispatch_queue_t queue_;
};

}  // namespace vigilmoth
