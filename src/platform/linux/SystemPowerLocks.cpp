#include "platform/linux/SystemPowerLocks.h"

namespace vigilmoth {

PowerAssertionMaking::Created SystemPowerLocks::create(const std::string& kind,
                                                       const std::string& reason) {
    Created created;
    auto lock = Logind::inhibit(*logind_.bus(), {kind, reason, "block"}, created.failure);
    if (!lock) return created;
    created.id = leases_.add(std::move(lock), lease_);
    kinds_[*created.id] = kind;
    return created;
}

bool SystemPowerLocks::rename(PowerAssertionID id, const std::string& reason) {
    const auto kind = kinds_.find(id);
    if (kind == kinds_.end()) return false;
    std::string failure;
    auto lock = Logind::inhibit(*logind_.bus(), {kind->second, reason, "block"}, failure);
    return lock && leases_.replace(id, std::move(lock));
}

void SystemPowerLocks::release(PowerAssertionID id) {
    leases_.release(id);
    kinds_.erase(id);
}

}  // namespace vigilmoth
