#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>

#include "platform/posix/FileDescriptor.h"

namespace vigilmoth {

// Inhibitor locks held as leases: a lock not renewed within the lease is closed by a thread of
// its own, so that a hung loop cannot hold the machine awake for ever. logind has no time-outs
// of its own; this gives its locks those of macOS's power assertions.
class LeasedLocks {
public:
    using Seconds = std::chrono::duration<double>;

    LeasedLocks();
    ~LeasedLocks();
    LeasedLocks(const LeasedLocks&) = delete;
    LeasedLocks& operator=(const LeasedLocks&) = delete;

    uint32_t add(FileDescriptor lock, Seconds lease);
    // Restarts a lock's lease; false when it has lapsed or was never there.
    bool renew(uint32_t id);
    // Puts a new lock in the place of the old one, which closes only after the new one is in
    // place, with a fresh lease; false (and the new lock closed) when the old one has lapsed.
    bool replace(uint32_t id, FileDescriptor lock);
    void release(uint32_t id);

private:
    struct Lease {
        FileDescriptor lock;
        std::chrono::steady_clock::duration lease;
        std::chrono::steady_clock::time_point until;
    };

    void watch();
    std::chrono::steady_clock::time_point deadline() const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<uint32_t, Lease> leases_;
    uint32_t nextID_ = 1;
    bool stopping_ = false;
    std::thread watcher_;
};

}  // namespace vigilmoth
