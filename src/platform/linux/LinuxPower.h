#pragma once

#include <asio.hpp>
#include <memory>

#include "platform/linux/AsioBus.h"
#include "platform/linux/LeasedLocks.h"
#include "platform/linux/Logind.h"
#include "platform/linux/LogindLidSwitch.h"
#include "platform/linux/LogindSleepNotices.h"
#include "platform/linux/SystemPowerLocks.h"
#include "power/PowerKeeper.h"

namespace vigilmoth {

// What the application needs of logind to keep this computer awake, over one system-bus
// connection on the main loop: the power keeper's lock, the lid-switch lock that stands in for
// the macOS helper, and the sleep notices. Without a system bus or logind every piece stays
// usable and holds nothing, and the reason is logged once.
class LinuxPower {
public:
    struct Leases {
        double hold = PowerKeeper::kLeaseSeconds;
        double lid = LogindLidSwitch::kLeaseSeconds;
    };

    LinuxPower(asio::io_context& context, const BusAddress& address, std::string version,
               Leases leases);
    LinuxPower(asio::io_context& context, const BusAddress& address, std::string version)
        : LinuxPower(context, address, std::move(version), Leases{}) {}

    PowerKeeper& keeper() { return keeper_; }
    LogindLidSwitch& lidSwitch() { return lidSwitch_; }
    SleepNoticing& sleepNotices() { return notices_; }

private:
    int code_ = 0;
    std::unique_ptr<AsioBus> bus_;
    LogindReach logind_;
    LeasedLocks leases_;
    SystemPowerLocks locks_;
    PowerKeeper keeper_;
    LogindLidSwitch lidSwitch_;
    LogindSleepNotices notices_;
};

}  // namespace vigilmoth
