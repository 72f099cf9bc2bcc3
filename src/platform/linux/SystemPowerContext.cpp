#include "platform/linux/SystemPowerContext.h"

#include <fcntl.h>

#include <filesystem>

#include "evidence/PowerSupplies.h"
#include "platform/linux/Logind.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"

namespace vigilmoth {
namespace {

// sysfs attributes are small; anything larger is not one.
constexpr size_t kAttributeLimit = 4096;

std::string attribute(const std::filesystem::path& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) return {};
    return readAll(file.get(), kAttributeLimit).value_or(std::string());
}

// The entries of a sysfs class folder; nothing when it is missing or unreadable.
std::vector<std::filesystem::path> entries(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        found.push_back(it->path());
    }
    return found;
}

// The reader's own connection, opened again when it was lost.
sd_bus* connected(SdBus& bus, const BusAddress& address) {
    int code = 0;
    if (bus && sd_bus_is_open(bus.get()) <= 0) bus.reset();
    if (!bus) bus = openBus(address, code);
    return bus.get();
}

}  // namespace

BatteryReading SystemPowerContext::battery() {
    std::vector<PowerSupplies::Supply> supplies;
    for (const auto& path : entries(std::filesystem::path(root_) / "class/power_supply")) {
        supplies.push_back({path.filename().string(), attribute(path / "type"),
                            attribute(path / "scope"), attribute(path / "online"),
                            attribute(path / "status"), attribute(path / "capacity")});
    }
    return PowerSupplies::battery(std::move(supplies));
}

int SystemPowerContext::thermalState() {
    std::vector<PowerSupplies::ThermalZone> zones;
    for (const auto& path : entries(std::filesystem::path(root_) / "class/thermal")) {
        if (path.filename().string().rfind("thermal_zone", 0) != 0) continue;
        PowerSupplies::ThermalZone zone{attribute(path / "temp"), {}};
        for (int trip = 0;; ++trip) {
            const auto prefix = "trip_point_" + std::to_string(trip);
            auto type = attribute(path / (prefix + "_type"));
            if (type.empty()) break;
            zone.trips.emplace_back(std::move(type), attribute(path / (prefix + "_temp")));
        }
        zones.push_back(std::move(zone));
    }
    return PowerSupplies::thermalState(zones);
}

bool SystemPowerContext::lidClosed() {
    return Logind::lidClosed(connected(bus_, address_)).value_or(false);
}

std::set<int> SystemPowerAssertions::assertingPIDs() {
    std::set<int> pids;
    sd_bus* bus = connected(bus_, address_);
    for (const auto& inhibitor : Logind::listInhibitors(bus)) {
        if (Logind::keepsAwake(inhibitor)) pids.insert(static_cast<int>(inhibitor.pid));
    }
    return pids;
}

}  // namespace vigilmoth
