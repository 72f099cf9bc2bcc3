#include "platform/linux/AsioDetectionScheduler.h"

#include <atomic>
#include <chrono>

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

namespace vigilmoth {
namespace {

struct Pending {
    explicit Pending(asio::io_context& loop) : timer(loop) {}
    asio::steady_timer timer;
    // Read on the worker, which may start the work after the loop cancelled it.
    std::atomic<bool> cancelled = false;
};

class Token final : public DetectionCancellable {
public:
    explicit Token(std::shared_ptr<Pending> pending) : pending_(std::move(pending)) {}
    void cancel() override {
        pending_->cancelled = true;
        pending_->timer.cancel();
    }

private:
    std::shared_ptr<Pending> pending_;
};

}  // namespace

AsioDetectionScheduler::~AsioDetectionScheduler() {
    worker_.stop();
    worker_.join();
}

std::unique_ptr<DetectionCancellable> AsioDetectionScheduler::schedule(double seconds, double,
                                                                       std::function<void()> work) {
    auto pending = std::make_shared<Pending>(loop_);
    pending->timer.expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds)));
    pending->timer.async_wait(
        [this, pending, work = std::move(work)](std::error_code error) mutable {
            if (error || pending->cancelled) return;
            asio::post(worker_, [pending, work = std::move(work)] {
                if (!pending->cancelled) work();
            });
        });
    return std::make_unique<Token>(std::move(pending));
}

void AsioDetectionScheduler::onMain(std::function<void()> work) {
    asio::post(loop_, std::move(work));
}

}  // namespace vigilmoth
