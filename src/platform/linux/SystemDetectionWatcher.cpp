#include "platform/linux/SystemDetectionWatcher.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace vigilmoth {

void SystemDetectionWatcher::watch(const std::set<std::string>& files,
                                   const std::unordered_set<ProcessIdentity>& processes,
                                   std::function<void()> onEvent) {
    *onEvent_ = std::move(onEvent);
    std::erase_if(files_, [&](const auto& entry) { return !files.contains(entry.first); });
    std::erase_if(processes_, [&](const auto& entry) { return !processes.contains(entry.first); });
    bool goneAlready = false;
    for (const auto& identity : processes) {
        if (!processes_.contains(identity) && !watchProcess(identity)) goneAlready = true;
    }
    for (const auto& path : files) {
        if (files_.contains(path)) continue;
        auto watch = std::make_unique<FileWatch>(
            loop_, path, [handler = handler()](FileWatchEvent) { notify(handler); });
        watch->start();
        files_.emplace(path, std::move(watch));
    }
    if (goneAlready) notify(handler());
}

bool SystemDetectionWatcher::watchProcess(const ProcessIdentity& identity) {
    int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, identity.pid, 0));
    auto row = descriptor >= 0 ? census_.row(identity.pid) : std::nullopt;
    // Gone already, or its pid taken by a newer process: as good as an exit just seen.
    if (!row || row->startTime != identity.startTime) {
        if (descriptor >= 0) ::close(descriptor);
        processes_.emplace(identity, nullptr);
        return false;
    }
    auto process = std::make_unique<asio::posix::stream_descriptor>(loop_, descriptor);
    // Closing the descriptor calls this with operation_aborted.
    process->async_wait(asio::posix::stream_descriptor::wait_read,
                        [handler = handler()](std::error_code error) {
                            if (!error) notify(handler);
                        });
    processes_.emplace(identity, std::move(process));
    return true;
}

void SystemDetectionWatcher::stop() {
    *onEvent_ = nullptr;
    for (auto& [path, watch] : files_)
        watch->cancel();
    files_.clear();
    processes_.clear();
}

}  // namespace vigilmoth
