#include "platform/macos/SystemDetectionWatcher.h"

namespace vigilmoth {
namespace {

struct ExitContext {
    std::weak_ptr<SystemDetectionWatcher::Handler> handler;
    std::mutex* lock;
};

void processExited(void* context) {
    auto* exit = static_cast<ExitContext*>(context);
    SystemDetectionWatcher::Handler call;
    {
        std::lock_guard guard(*exit->lock);
        if (auto handler = exit->handler.lock()) call = *handler;
    }
    if (call) call();
}

void releaseExitContext(void* context) {
    delete static_cast<ExitContext*>(context);
}

void cancel(dispatch_source_t source) {
    dispatch_source_cancel(source);
    dispatch_release(source);
}

}  // namespace

SystemDetectionWatcher::SystemDetectionWatcher()
    : queue_(dispatch_queue_create(
          "com.vigilmoth.app.detection.watch",
          dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_UTILITY, 0))) {}

SystemDetectionWatcher::~SystemDetectionWatcher() {
    stop();
    dispatch_release(queue_);
}

void SystemDetectionWatcher::watch(const std::set<std::string>& files,
                                   const std::unordered_set<ProcessIdentity>& processes,
                                   std::function<void()> onEvent) {
    std::lock_guard guard(lock_);
    *onEvent_ = std::move(onEvent);
    std::erase_if(files_, [&](auto& entry) {
        if (files.contains(entry.first)) return false;
        entry.second->cancel();
        return true;
    });
    std::erase_if(processes_, [&](const auto& entry) {
        if (processes.contains(entry.first)) return false;
        cancel(entry.second);
        return true;
    });
    for (const auto& identity : processes) {
        if (processes_.contains(identity)) continue;
        dispatch_source_t source =
            dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(identity.pid),
                                   DISPATCH_PROC_EXIT, queue_);
        if (source == nullptr) continue;
        dispatch_set_context(source, new ExitContext{onEvent_, &lock_});
        dispatch_source_set_event_handler_f(source, processExited);
        dispatch_source_set_cancel_handler_f(source, releaseExitContext);
        dispatch_resume(source);
        processes_.emplace(identity, source);
    }
    for (const auto& path : files) {
        if (files_.contains(path)) continue;
        std::weak_ptr<Handler> handler = onEvent_;
        auto watch = std::make_unique<FileWatch>(path, queue_, [this, handler](FileWatchEvent) {
            Handler call;
            {
                std::lock_guard guard(lock_);
                if (auto current = handler.lock()) call = *current;
            }
            if (call) call();
        });
        watch->start();
        files_.emplace(path, std::move(watch));
    }
}

void SystemDetectionWatcher::stop() {
    std::lock_guard guard(lock_);
    stopLocked();
}

void SystemDetectionWatcher::stopLocked() {
    *onEvent_ = nullptr;
    for (auto& [path, watch] : files_)
        watch->cancel();
    files_.clear();
    for (auto& [identity, source] : processes_)
        cancel(source);
    processes_.clear();
}

}  // namespace vigilmoth
