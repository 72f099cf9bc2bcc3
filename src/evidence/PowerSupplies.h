#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "evidence/PowerContextReading.h"

// The Linux power context as the kernel describes it in sysfs. The platform reads the files
// (an unreadable file gives empty text); these functions make sense of them.
namespace vigilmoth::PowerSupplies {

// One entry of /sys/class/power_supply: the texts of its files.
struct Supply {
    std::string name;
    std::string type, scope, online, status, capacity;
};

// One entry of /sys/class/thermal: its temperature and its trip points, in millidegrees.
struct ThermalZone {
    std::string temperature;
    std::vector<std::pair<std::string, std::string>> trips;  // (type, temperature)
};

// How close to its critical trip a zone counts as critical, in millidegrees.
inline constexpr long kCriticalMargin = 5000;

// A whole decimal number, surrounding white space allowed; nothing for anything else.
std::optional<long> integer(std::string_view text);

// The system's batteries (not those of mice and other devices) and whether any outside source
// is online. Without a battery the machine is on mains.
BatteryReading battery(std::vector<Supply> supplies);

// The hottest zone's state: 3 within 5 °C of "critical", 2 at or above "hot", 1 at or above
// "passive", else 0. A laptop throttling at its passive trip under a heavy build is busy, not
// in danger, and only reaches 1.
int thermalState(const std::vector<ThermalZone>& zones);

}  // namespace vigilmoth::PowerSupplies
