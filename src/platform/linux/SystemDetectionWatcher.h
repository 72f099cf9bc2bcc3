#pragma once

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <map>
#include <memory>
#include <unordered_map>

#include "evidence/DetectionWatching.h"
#include "platform/linux/FileWatch.h"
#include "platform/linux/SystemProcessCensus.h"

namespace vigilmoth {

// The engine's watches on the application's loop: an inotify watch per file (FileWatch) and a
// pidfd per process, which becomes readable when the process exits. Events arrive on the loop.
//
// Used from the loop's thread only, so it needs no lock.
class SystemDetectionWatcher final : public DetectionWatching {
public:
    explicit SystemDetectionWatcher(asio::io_context& loop) : loop_(loop) {}
    ~SystemDetectionWatcher() override { stop(); }

    void watch(const std::set<std::string>& files,
               const std::unordered_set<ProcessIdentity>& processes,
               std::function<void()> onEvent) override;
    void stop() override;

private:
    using Handler = std::function<void()>;
    // False when the process is gone already.
    bool watchProcess(const ProcessIdentity& identity);
    // What the kernel's callbacks hold: nothing, once the watcher is gone.
    std::weak_ptr<Handler> handler() const { return onEvent_; }
    static void notify(const std::weak_ptr<Handler>& handler) {
        if (auto call = handler.lock(); call && *call) (*call)();
    }

    asio::io_context& loop_;
    std::shared_ptr<Handler> onEvent_ = std::make_shared<Handler>();
    std::map<std::string, std::unique_ptr<FileWatch>> files_;
    std::unordered_map<ProcessIdentity, std::unique_ptr<asio::posix::stream_descriptor>> processes_;
    // Tells a process from a later one under the same pid.
    SystemProcessCensus census_;
};

}  // namespace vigilmoth
