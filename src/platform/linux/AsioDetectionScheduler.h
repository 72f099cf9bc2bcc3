#pragma once

#include <asio/io_context.hpp>
#include <asio/thread_pool.hpp>

#include "base/DetectionScheduling.h"

namespace vigilmoth {

// The detection engine's timers on the application's loop, its collections on one worker
// thread of their own (so one at a time, never on the loop), and its decisions back on the
// loop's thread. Asio's timers have no leeway, so a tick comes at its delay.
//
// Used from the loop's thread. Going, it waits for a collection under way to end.
class AsioDetectionScheduler final : public DetectionScheduling {
public:
    explicit AsioDetectionScheduler(asio::io_context& loop) : loop_(loop) {}
    ~AsioDetectionScheduler() override;

    std::unique_ptr<DetectionCancellable> schedule(double seconds, double leeway,
                                                   std::function<void()> work) override;
    void onMain(std::function<void()> work) override;

private:
    asio::io_context& loop_;
    asio::thread_pool worker_{1};
};

}  // namespace vigilmoth
