#pragma once

#include <optional>
#include <set>

namespace vigilmoth {

struct BatteryReading {
    bool onBattery = false;
    std::optional<int> percent;  // none without a battery, or when it cannot be read
    bool charging = false;

    bool operator==(const BatteryReading&) const = default;
};

// The machine's power context, read by the evidence collector on every tick. A machine without
// a battery is on mains power.
class PowerContextReading {
public:
    virtual ~PowerContextReading() = default;
    virtual BatteryReading battery() = 0;
    virtual bool lidClosed() = 0;
    // 0 nominal, 1 fair, 2 serious, 3 critical.
    virtual int thermalState() = 0;
};

// The processes that hold the system awake with locks or assertions of their own.
class PowerAssertionListing {
public:
    virtual ~PowerAssertionListing() = default;
    // Empty when the system's list cannot be read.
    virtual std::set<int> assertingPIDs() = 0;
};

}  // namespace vigilmoth
