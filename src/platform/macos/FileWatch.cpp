#include "platform/macos/FileWatch.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace vigilmoth {

struct VnodeWatch {
    std::string path;
    dispatch_queue_t callbackQueue = nullptr;
    FileWatch::Handler handler;
    // Every change of the fields below happens on this serial queue.
    dispatch_queue_t queue = nullptr;
    dispatch_source_t source = nullptr;
    dispatch_source_t retry = nullptr;
    std::atomic<bool> cancelled{false};

    ~VnodeWatch() {
        if (queue != nullptr) dispatch_release(queue);
        if (callbackQueue != nullptr) dispatch_release(callbackQueue);
    }
};

namespace {

using Shared = std::shared_ptr<VnodeWatch>;

// Half a second between attempts to open a path that is not there, as on Linux.
constexpr int64_t kRetryNanoseconds = 500'000'000;

// Runs `work` on `queue` with the watch kept alive until it has run.
void runOn(dispatch_queue_t queue, const Shared& watch, void (*work)(VnodeWatch&)) {
    struct Job {
        Shared watch;
        void (*work)(VnodeWatch&);
    };
    dispatch_async_f(queue, new Job{watch, work}, [](void* context) {
        std::unique_ptr<Job> job(static_cast<Job*>(context));
        job->work(*job->watch);
    });
}

void emit(const Shared& watch, FileWatchEvent event) {
    struct Delivery {
        Shared watch;
        FileWatchEvent event;
    };
    dispatch_async_f(watch->callbackQueue, new Delivery{watch, event}, [](void* context) {
        std::unique_ptr<Delivery> delivery(static_cast<Delivery*>(context));
        if (!delivery->watch->cancelled) delivery->watch->handler(delivery->event);
    });
}

// A dispatch source's context: a reference to the watch, released by its cancel handler,
// which also closes the descriptor the source watched.
struct SourceContext {
    Shared watch;
    int descriptor = -1;
};

void releaseSourceContext(void* context) {
    std::unique_ptr<SourceContext> owned(static_cast<SourceContext*>(context));
    if (owned->descriptor >= 0) ::close(owned->descriptor);
}

bool attach(const Shared& watch);

void scheduleRetry(const Shared& watch) {
    if (watch->cancelled || watch->retry != nullptr) return;
    dispatch_source_t timer =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, watch->queue);
    if (timer == nullptr) return;
    dispatch_set_context(timer, new SourceContext{watch});
    dispatch_source_set_event_handler_f(timer, [](void* context) {
        const Shared& watch = static_cast<SourceContext*>(context)->watch;
        if (attach(watch)) emit(watch, FileWatchEvent::replaced);
    });
    dispatch_source_set_cancel_handler_f(timer, releaseSourceContext);
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, kRetryNanoseconds),
                              kRetryNanoseconds, kRetryNanoseconds / 10);
    watch->retry = timer;
    dispatch_resume(timer);
}

void stopRetry(VnodeWatch& watch) {
    if (watch.retry == nullptr) return;
    dispatch_source_cancel(watch.retry);
    dispatch_release(watch.retry);
    watch.retry = nullptr;
}

void stopSource(VnodeWatch& watch) {
    if (watch.source == nullptr) return;
    dispatch_source_cancel(watch.source);
    dispatch_release(watch.source);
    watch.source = nullptr;
}

void vnodeEvent(void* context) {
    const Shared& watch = static_cast<SourceContext*>(context)->watch;
    unsigned long flags = dispatch_source_get_data(watch->source);
    if ((flags & (DISPATCH_VNODE_DELETE | DISPATCH_VNODE_RENAME)) == 0) {
        emit(watch, FileWatchEvent::written);
        return;
    }
    Shared keep = watch;  // the source's context goes with the source
    stopSource(*keep);
    emit(keep, attach(keep) ? FileWatchEvent::replaced : FileWatchEvent::removed);
}

// Opens the path for event notification only and watches it; on failure schedules a retry.
// Runs on the watch's queue.
bool attach(const Shared& watch) {
    if (watch->cancelled) return false;
    int descriptor = ::open(watch->path.c_str(), O_EVTONLY);
    if (descriptor < 0) {
        scheduleRetry(watch);
        return false;
    }
    dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_VNODE, static_cast<uintptr_t>(descriptor),
                               DISPATCH_VNODE_WRITE | DISPATCH_VNODE_EXTEND |
                                   DISPATCH_VNODE_DELETE | DISPATCH_VNODE_RENAME,
                               watch->queue);
    if (source == nullptr) {
        ::close(descriptor);
        scheduleRetry(watch);
        return false;
    }
    dispatch_set_context(source, new SourceContext{watch, descriptor});
    dispatch_source_set_event_handler_f(source, vnodeEvent);
    dispatch_source_set_cancel_handler_f(source, releaseSourceContext);
    watch->source = source;
    dispatch_resume(source);
    stopRetry(*watch);
    return true;
}

}  // namespace

FileWatch::FileWatch(std::string path, dispatch_queue_t callbackQueue, Handler handler)
    : watch_(std::make_shared<VnodeWatch>()) {
    watch_->path = std::move(path);
    watch_->handler = std::move(handler);
    dispatch_retain(callbackQueue);
    watch_->callbackQueue = callbackQueue;
    watch_->queue = dispatch_queue_create("com.vigilmoth.app.filewatch", DISPATCH_QUEUE_SERIAL);
}

FileWatch::~FileWatch() {
    cancel();
}

void FileWatch::start() {
    struct Start {
        Shared watch;
    };
    dispatch_async_f(watch_->queue, new Start{watch_}, [](void* context) {
        std::unique_ptr<Start> start(static_cast<Start*>(context));
        if (start->watch->source == nullptr && start->watch->retry == nullptr) attach(start->watch);
    });
}

void FileWatch::cancel() {
    if (watch_->cancelled.exchange(true)) return;
    runOn(watch_->queue, watch_, [](VnodeWatch& watch) {
        stopSource(watch);
        stopRetry(watch);
    });
}

}  // namespace vigilmoth
