#pragma once

#include <functional>
#include <memory>
#include <string>

#include <asio/io_context.hpp>

#include "evidence/FileWatchEvent.h"

namespace vigilmoth {

namespace inotify {
struct Subscription;
}

// Kernel notifications of changes to one file, delivered on the application's event loop.
//
// The watch looks at the file's folder, so that it sees the file written, replaced by a
// rename, deleted and created again without polling. A folder that goes away, or that cannot
// be watched (missing, or the system's limit of watches reached), is tried again every half
// second; when the file is there again the watch reports `replaced`. Events that arrive
// together are folded into one call. All watches of a loop share one inotify descriptor.
//
// A watch is used on its loop's thread and must go before its loop does.
class FileWatch {
public:
    using Event = FileWatchEvent;
    using Handler = std::function<void(Event)>;

    FileWatch(asio::io_context& loop, std::string path, Handler handler);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    void start();
    // Stops for good; no call of the handler follows.
    void cancel();

    // Seconds between attempts to watch a folder that could not be watched.
    static constexpr double kRetryInterval = 0.5;

protected:
    FileWatch(asio::io_context& loop, std::string folder, std::string name, Handler handler);

private:
    std::shared_ptr<inotify::Subscription> subscription_;
};

// Notifications of entries created, moved or removed in a folder: `written` for any of them,
// `removed` when the folder itself goes and `replaced` when it is back.
class DirectoryWatch : public FileWatch {
public:
    DirectoryWatch(asio::io_context& loop, std::string folder, Handler handler);
};

}  // namespace vigilmoth
