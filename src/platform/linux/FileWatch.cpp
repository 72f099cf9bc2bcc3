#include "platform/linux/FileWatch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <optional>
#include <unordered_map>
#include <vector>

#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include "base/Log.h"

namespace vigilmoth {
namespace inotify {
namespace {

constexpr std::uint32_t kMask = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM |
                                IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                                IN_EXCL_UNLINK;
constexpr std::uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;
// Events of one save (a write and its close, a delete and a create) come within a moment of
// each other; they are gathered this long and reported as one.
constexpr std::chrono::milliseconds kSettle{30};
constexpr auto kRetry =
    std::chrono::milliseconds(static_cast<int>(FileWatch::kRetryInterval * 1000));

const Logger& logger() {
    static const Logger logger("FileWatch");
    return logger;
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

// A later event replaces an earlier one, except that a write adds nothing to a replacement
// or removal already waiting.
FileWatchEvent folded(std::optional<FileWatchEvent> pending, FileWatchEvent event) {
    if (pending && event == FileWatchEvent::written) return *pending;
    return event;
}

class Service;

}  // namespace

struct Subscription : std::enable_shared_from_this<Subscription> {
    Subscription(asio::io_context& loop, std::string folder, std::string name,
                 FileWatch::Handler handler)
        : folder(std::move(folder)),
          name(std::move(name)),
          handler(std::move(handler)),
          settle(loop),
          retry(loop) {}

    std::string path() const { return name.empty() ? folder : folder + "/" + name; }

    std::string folder;
    // The entry watched in `folder`; empty when the folder's own entries are watched.
    std::string name;
    FileWatch::Handler handler;
    Service* service = nullptr;
    int watch = -1;
    // The file was there at the last look.
    bool present = false;
    bool cancelled = false;
    std::optional<FileWatchEvent> pending;
    asio::steady_timer settle;
    asio::steady_timer retry;
    bool settling = false;
};

namespace {

// The inotify descriptor of one loop and the watches on it, by watch descriptor.
class Service : public asio::execution_context::service {
public:
    using key_type = Service;
    static inline asio::execution_context::id id;

    explicit Service(asio::execution_context& context)
        : asio::execution_context::service(context),
          loop_(static_cast<asio::io_context&>(context)),
          descriptor_(loop_) {}

    void start(const std::shared_ptr<Subscription>& subscription) {
        subscription->service = this;
        subscription->present = exists(subscription->path());
        attach(subscription);
    }

    void stop(Subscription& subscription) {
        subscription.cancelled = true;
        subscription.settle.cancel();
        subscription.retry.cancel();
        detach(subscription);
    }

private:
    void shutdown() override {
        folders_.clear();
        asio::error_code ignored;
        descriptor_.close(ignored);
    }

    bool open() {
        if (descriptor_.is_open()) return true;
        int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (descriptor < 0) return false;
        descriptor_.assign(descriptor);
        waitForEvents();
        return true;
    }

    void attach(const std::shared_ptr<Subscription>& subscription) {
        if (subscription->cancelled) return;
        int watch = open() ? ::inotify_add_watch(descriptor_.native_handle(),
                                                 subscription->folder.c_str(), kMask)
                           : -1;
        if (watch < 0) {
            // A missing folder is normal; the limit of watches is worth a line in the log.
            if (errno == ENOSPC) logger().info("the limit of inotify watches is reached");
            scheduleRetry(subscription);
            return;
        }
        subscription->watch = watch;
        folders_[watch].push_back(subscription);
        // A file that came into being while its folder could not be watched is a new file.
        if (!subscription->present && exists(subscription->path())) {
            subscription->present = true;
            emit(*subscription, FileWatchEvent::replaced);
        }
    }

    void detach(Subscription& subscription) {
        auto found = folders_.find(subscription.watch);
        subscription.watch = -1;
        if (found == folders_.end()) return;
        std::erase_if(found->second, [&](const auto& weak) {
            auto other = weak.lock();
            return !other || other.get() == &subscription;
        });
        if (found->second.empty()) {
            ::inotify_rm_watch(descriptor_.native_handle(), found->first);
            folders_.erase(found);
        }
    }

    void scheduleRetry(const std::shared_ptr<Subscription>& subscription) {
        subscription->retry.expires_after(kRetry);
        subscription->retry.async_wait(
            [this, weak = std::weak_ptr<Subscription>(subscription)](asio::error_code error) {
                auto subscription = weak.lock();
                if (!error && subscription && subscription->watch < 0) attach(subscription);
            });
    }

    void emit(Subscription& subscription, FileWatchEvent event) {
        subscription.pending = folded(subscription.pending, event);
        if (subscription.settling) return;
        subscription.settling = true;
        subscription.settle.expires_after(kSettle);
        subscription.settle.async_wait(
            [weak = subscription.weak_from_this()](asio::error_code error) {
                auto subscription = weak.lock();
                if (error || !subscription) return;
                subscription->settling = false;
                auto event = std::exchange(subscription->pending, std::nullopt);
                if (event && !subscription->cancelled) subscription->handler(*event);
            });
    }

    void waitForEvents() {
        descriptor_.async_wait(asio::posix::stream_descriptor::wait_read,
                               [this](asio::error_code error) {
                                   if (error) return;
                                   readEvents();
                                   waitForEvents();
                               });
    }

    void readEvents() {
        alignas(inotify_event) std::array<char, 16384> buffer;
        while (true) {
            ssize_t length = ::read(descriptor_.native_handle(), buffer.data(), buffer.size());
            if (length <= 0) return;
            for (ssize_t offset = 0; offset < length;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
                handle(*event, event->len > 0 ? std::string(event->name) : std::string());
                offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
    }

    void handle(const inotify_event& event, const std::string& name) {
        if (event.mask & IN_Q_OVERFLOW) {
            // Events were lost: every watch may have missed something.
            for (auto& [watch, subscriptions] : folders_) {
                for (auto& weak : subscriptions) {
                    if (auto subscription = weak.lock())
                        emit(*subscription, FileWatchEvent::written);
                }
            }
            return;
        }
        auto found = folders_.find(event.wd);
        if (found == folders_.end()) return;
        if (event.mask & kFolderGone) {
            folderGone(found->first, std::move(found->second));
            return;
        }
        for (auto& weak : found->second) {
            auto subscription = weak.lock();
            if (!subscription) continue;
            if (subscription->name.empty()) {
                if (!name.empty() &&
                    (event.mask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)))
                    emit(*subscription, FileWatchEvent::written);
            } else if (name == subscription->name) {
                entryChanged(*subscription, event.mask);
            }
        }
    }

    void entryChanged(Subscription& subscription, std::uint32_t mask) {
        if (mask & (IN_CREATE | IN_MOVED_TO)) {
            subscription.present = true;
            emit(subscription, FileWatchEvent::replaced);
        } else if (mask & (IN_DELETE | IN_MOVED_FROM)) {
            if (std::exchange(subscription.present, false))
                emit(subscription, FileWatchEvent::removed);
        } else if (mask & (IN_MODIFY | IN_CLOSE_WRITE)) {
            emit(subscription, FileWatchEvent::written);
        }
    }

    void folderGone(int watch, std::vector<std::weak_ptr<Subscription>> subscriptions) {
        folders_.erase(watch);
        // A moved folder is still watched where it went; the watch must follow the path.
        ::inotify_rm_watch(descriptor_.native_handle(), watch);
        for (auto& weak : subscriptions) {
            auto subscription = weak.lock();
            if (!subscription) continue;
            subscription->watch = -1;
            if (std::exchange(subscription->present, false))
                emit(*subscription, FileWatchEvent::removed);
            scheduleRetry(subscription);
        }
    }

    asio::io_context& loop_;
    asio::posix::stream_descriptor descriptor_;
    std::unordered_map<int, std::vector<std::weak_ptr<Subscription>>> folders_;
};

std::pair<std::string, std::string> split(const std::string& path) {
    std::size_t cut = path.rfind('/');
    if (cut == std::string::npos) return {".", path};
    return {cut == 0 ? "/" : path.substr(0, cut), path.substr(cut + 1)};
}

}  // namespace
}  // namespace inotify

FileWatch::FileWatch(asio::io_context& loop, std::string path, Handler handler)
    : FileWatch(loop, inotify::split(path).first, inotify::split(path).second, std::move(handler)) {
}

FileWatch::FileWatch(asio::io_context& loop, std::string folder, std::string name, Handler handler)
    : subscription_(std::make_shared<inotify::Subscription>(loop, std::move(folder),
                                                            std::move(name), std::move(handler))) {
    asio::use_service<inotify::Service>(loop);
}

FileWatch::~FileWatch() {
    cancel();
}

void FileWatch::start() {
    if (subscription_->service != nullptr || subscription_->cancelled) return;
    auto& loop = static_cast<asio::io_context&>(subscription_->settle.get_executor().context());
    asio::use_service<inotify::Service>(loop).start(subscription_);
}

void FileWatch::cancel() {
    if (subscription_->service != nullptr) {
        static_cast<inotify::Service*>(subscription_->service)->stop(*subscription_);
    }
    subscription_->cancelled = true;
}

DirectoryWatch::DirectoryWatch(asio::io_context& loop, std::string folder, Handler handler)
    : FileWatch(loop, std::move(folder), std::string(), std::move(handler)) {}

}  // namespace vigilmoth
