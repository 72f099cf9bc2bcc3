#pragma once

#include <string>

#include "evidence/PowerContextReading.h"
#include "platform/linux/AsioBus.h"

namespace vigilmoth {

// The power context on Linux: batteries and outside sources under class/power_supply, thermal
// zones under class/thermal, both below a sysfs root ("/sys", or a fixture tree in tests), and
// logind's LidClosed property. Used from one thread at a time (the collector's), on a bus
// connection of its own that no loop drives.
class SystemPowerContext final : public PowerContextReading {
public:
    SystemPowerContext(std::string sysfsRoot, BusAddress address)
        : root_(std::move(sysfsRoot)), address_(std::move(address)) {}

    BatteryReading battery() override;
    bool lidClosed() override;
    int thermalState() override;

private:
    std::string root_;
    BusAddress address_;
    SdBus bus_;
};

// The pids of every logind lock whose kinds include sleep or idle.
class SystemPowerAssertions final : public PowerAssertionListing {
public:
    explicit SystemPowerAssertions(BusAddress address) : address_(std::move(address)) {}
    std::set<int> assertingPIDs() override;

private:
    BusAddress address_;
    SdBus bus_;
};

}  // namespace vigilmoth
