#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <dispatch/dispatch.h>

#include <functional>
#include <memory>
#include <string>

#include "evidence/FileWatchEvent.h"

namespace vigilmoth {

struct VnodeWatch;

// Kernel vnode notifications of one file (write, extend, delete, rename) through a dispatch
// source on the watch's own serial queue "com.vigilmoth.app.filewatch"; the handler runs on
// `callbackQueue`. After a delete or rename the path is opened again at once: a file there is
// `replaced`, none is `removed`, and the path is then tried every half second until it can be
// opened. `cancel()` may be called from any thread.
class FileWatch {
public:
    using Event = FileWatchEvent;
    using Handler = std::function<void(Event)>;

    FileWatch(std::string path, dispatch_queue_t callbackQueue, Handler handler);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    void start();
    void cancel();

private:
    std::shared_ptr<VnodeWatch> watch_;
};

// A watch on a folder: its own vnode events report entries created, moved or removed in it.
class DirectoryWatch {
public:
    DirectoryWatch(std::string folder, dispatch_queue_t callbackQueue, FileWatch::Handler handler)
        : watch_(std::move(folder), callbackQueue, std::move(handler)) {}

    void start() { watch_.start(); }
    void cancel() { watch_.cancel(); }

private:
    FileWatch watch_;
};

}  // namespace vigilmoth
