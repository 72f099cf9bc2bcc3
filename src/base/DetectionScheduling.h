#pragma once

#include <functional>
#include <memory>

namespace vigilmoth {

class DetectionCancellable {
public:
    virtual ~DetectionCancellable() = default;
    // The work does not start after this; work already started runs to its end.
    virtual void cancel() = 0;
};

// Where the detection engine's work runs: collections one at a time on a serial queue off the
// main thread, and everything else on the main thread.
class DetectionScheduling {
public:
    virtual ~DetectionScheduling() = default;
    // Runs `work` once on the serial queue after `seconds`; the system may run it up to
    // `leeway` seconds later, so that wake-ups coalesce.
    virtual std::unique_ptr<DetectionCancellable> schedule(double seconds, double leeway,
                                                           std::function<void()> work) = 0;
    virtual void onMain(std::function<void()> work) = 0;
};

}  // namespace vigilmoth
