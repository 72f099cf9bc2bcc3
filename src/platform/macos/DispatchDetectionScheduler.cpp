#include "platform/macos/DispatchDetectionScheduler.h"

#include <cstdint>

namespace vigilmoth {
namespace {

int64_t nanoseconds(double seconds) {
    return static_cast<int64_t>(seconds * static_cast<double>(NSEC_PER_SEC));
}

// The timer's context: the work, run once, then the timer cancels itself.
struct TimerWork {
    std::function<void()> work;
    dispatch_source_t timer = nullptr;
};

class TimerToken final : public DetectionCancellable {
public:
    explicit TimerToken(dispatch_source_t timer) : timer_(timer) { dispatch_retain(timer_); }
    ~TimerToken() override { dispatch_release(timer_); }
    void cancel() override { dispatch_source_cancel(timer_); }

private:
    dispatch_source_t timer_;
};

}  // namespace

DispatchDetectionScheduler::DispatchDetectionScheduler()
    : queue_(dispatch_queue_create(
          "com.vigilmoth.app.detection",
          dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_UTILITY, 0))) {}

DispatchDetectionScheduler::~DispatchDetectionScheduler() {
    dispatch_release(queue_);
}

std::unique_ptr<DetectionCancellable> DispatchDetectionScheduler::schedule(
    double seconds, double leeway, std::function<void()> work) {
    dispatch_source_t timer = dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue_);
    dispatch_set_context(timer, new TimerWork{std::move(work), timer});
    dispatch_source_set_event_handler_f(timer, [](void* context) {
        auto* pending = static_cast<TimerWork*>(context);
        dispatch_source_cancel(pending->timer);
        pending->work();
    });
    dispatch_source_set_cancel_handler_f(timer, [](void* context) {
        auto* pending = static_cast<TimerWork*>(context);
        dispatch_release(pending->timer);
        delete pending;
    });
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, nanoseconds(seconds)),
                              DISPATCH_TIME_FOREVER, static_cast<uint64_t>(nanoseconds(leeway)));
    dispatch_resume(timer);
    // The token's reference keeps the timer for cancel(); the context's goes when it ends.
    auto token = std::make_unique<TimerToken>(timer);
    return token;
}

void DispatchDetectionScheduler::onMain(std::function<void()> work) {
    dispatch_async_f(dispatch_get_main_queue(), new std::function<void()>(std::move(work)),
                     [](void* context) {
                         std::unique_ptr<std::function<void()>> owned(
                             static_cast<std::function<void()>*>(context));
                         (*owned)();
                     });
}

}  // namespace vigilmoth
