#pragma once

#include <optional>

#include "platform/linux/LeasedLocks.h"
#include "platform/linux/Logind.h"
#include "power/SleepFlagHelper.h"

namespace vigilmoth {

// The closed-lid flag on Linux. No privileged helper is needed: while the flag is on, vigilmoth
// holds a logind lock of kind "handle-lid-switch", which logind honours even where closing the
// lid ignores sleep locks. The "helper" is therefore always enabled and answers at once. Its
// heartbeats renew the lock's lease, so that a stalled application lets the lid act again, as
// the macOS helper clears the flag when the heartbeats stop.
class LogindLidSwitch final : public HelperServiceManaging, public SleepFlagHelperConnecting {
public:
    static constexpr double kLeaseSeconds = 60;

    LogindLidSwitch(LogindReach& logind, LeasedLocks& leases, std::string version,
                    double leaseSeconds = kLeaseSeconds)
        : logind_(logind), leases_(leases), version_(std::move(version)), lease_(leaseSeconds) {}

    HelperStatus status() override { return HelperStatus::enabled; }
    std::optional<std::string> registerService() override { return std::nullopt; }
    std::optional<std::string> unregisterService() override { return std::nullopt; }

    void setSleepDisabled(bool disabled, Reply reply) override { reply(set(disabled)); }
    void heartbeat(Reply reply) override;
    void status(StatusReply reply) override;
    void retire(Reply reply) override { reply(std::nullopt); }
    bool setSleepDisabledWaiting(bool disabled, double) override { return !set(disabled); }
    void disconnect() override {}

private:
    std::optional<HelperCallError> set(bool disabled);

    LogindReach& logind_;
    LeasedLocks& leases_;
    std::string version_;
    LeasedLocks::Seconds lease_;
    std::optional<uint32_t> lock_;
};

}  // namespace vigilmoth
