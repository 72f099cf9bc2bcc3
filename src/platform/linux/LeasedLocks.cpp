#include "platform/linux/LeasedLocks.h"

namespace vigilmoth {

LeasedLocks::LeasedLocks() : watcher_([this] { watch(); }) {}

LeasedLocks::~LeasedLocks() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    watcher_.join();
}

uint32_t LeasedLocks::add(FileDescriptor lock, Seconds lease) {
    std::lock_guard guard(mutex_);
    const uint32_t id = nextID_++;
    const auto length = std::chrono::duration_cast<std::chrono::steady_clock::duration>(lease);
    leases_[id] = Lease{std::move(lock), length, std::chrono::steady_clock::now() + length};
    changed_.notify_all();
    return id;
}

bool LeasedLocks::renew(uint32_t id) {
    std::lock_guard guard(mutex_);
    const auto found = leases_.find(id);
    if (found == leases_.end()) return false;
    found->second.until = std::chrono::steady_clock::now() + found->second.lease;
    return true;
}

bool LeasedLocks::replace(uint32_t id, FileDescriptor lock) {
    std::lock_guard guard(mutex_);
    const auto found = leases_.find(id);
    if (found == leases_.end()) return false;
    std::swap(found->second.lock, lock);
    found->second.until = std::chrono::steady_clock::now() + found->second.lease;
    return true;
}

void LeasedLocks::release(uint32_t id) {
    std::lock_guard guard(mutex_);
    leases_.erase(id);
}

std::chrono::steady_clock::time_point LeasedLocks::deadline() const {
    auto earliest = std::chrono::steady_clock::time_point::max();
    for (const auto& [id, lease] : leases_)
        earliest = std::min(earliest, lease.until);
    return earliest;
}

void LeasedLocks::watch() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const auto until = deadline();
        if (until == std::chrono::steady_clock::time_point::max()) {
            changed_.wait(lock);
        } else {
            changed_.wait_until(lock, until);
        }
        const auto now = std::chrono::steady_clock::now();
        std::erase_if(leases_, [now](const auto& entry) { return entry.second.until <= now; });
    }
}

}  // namespace vigilmoth
