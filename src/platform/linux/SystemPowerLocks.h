#pragma once

#include <map>

#include "platform/linux/LeasedLocks.h"
#include "platform/linux/Logind.h"
#include "power/PowerKeeper.h"

namespace vigilmoth {

// The keeper's assertions on Linux: one logind lock of kind "sleep:idle" in mode "block",
// held as a lease. logind cannot rename a lock, so a new reason takes a new lock first and
// closes the old one after, and the machine is never without a hold in between.
class SystemPowerLocks final : public PowerAssertionMaking {
public:
    SystemPowerLocks(LogindReach& logind, LeasedLocks& leases, double leaseSeconds)
        : logind_(logind), leases_(leases), lease_(leaseSeconds) {}

    std::vector<std::string> kinds() const override { return {"sleep:idle"}; }
    std::string creationCall() const override { return "Inhibit"; }
    bool available() override { return logind_.available(); }
    Created create(const std::string& kind, const std::string& reason) override;
    bool renew(PowerAssertionID id) override { return leases_.renew(id); }
    bool rename(PowerAssertionID id, const std::string& reason) override;
    void release(PowerAssertionID id) override;

private:
    LogindReach& logind_;
    LeasedLocks& leases_;
    LeasedLocks::Seconds lease_;
    std::map<PowerAssertionID, std::string> kinds_;
};

}  // namespace vigilmoth
