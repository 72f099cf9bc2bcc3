#include "evidence/PowerSupplies.h"

#include <algorithm>
#include <charconv>

namespace vigilmoth::PowerSupplies {
namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

bool system(const Supply& supply) {
    return trimmed(supply.scope) != "Device";
}

int zoneState(const ThermalZone& zone) {
    const auto temperature = integer(zone.temperature);
    if (!temperature) return 0;
    int state = 0;
    for (const auto& [typeText, tripText] : zone.trips) {
        const auto trip = integer(tripText);
        // Firmware leaves unused trips at zero or below; they mean nothing.
        if (!trip || *trip <= 0) continue;
        const auto type = trimmed(typeText);
        if (type == "critical" && *temperature >= *trip - kCriticalMargin) {
            state = std::max(state, 3);
        } else if (type == "hot" && *temperature >= *trip) {
            state = std::max(state, 2);
        } else if (type == "passive" && *temperature >= *trip) {
            state = std::max(state, 1);
        }
    }
    return state;
}

}  // namespace

std::optional<long> integer(std::string_view text) {
    text = trimmed(text);
    long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

BatteryReading battery(std::vector<Supply> supplies) {
    std::sort(supplies.begin(), supplies.end(),
              [](const Supply& a, const Supply& b) { return a.name < b.name; });
    std::vector<const Supply*> batteries;
    bool sourceListed = false, sourceOnline = false;
    for (const auto& supply : supplies) {
        if (!system(supply)) continue;
        if (trimmed(supply.type) == "Battery") {
            batteries.push_back(&supply);
        } else if (const auto online = integer(supply.online)) {
            sourceListed = true;
            sourceOnline = sourceOnline || *online == 1;
        }
    }
    BatteryReading reading;
    if (batteries.empty()) return reading;
    for (const auto* one : batteries) {
        reading.charging = reading.charging || trimmed(one->status) == "Charging";
        const auto capacity = integer(one->capacity);
        if (!reading.percent && capacity && *capacity >= 0 && *capacity <= 100) {
            reading.percent = static_cast<int>(*capacity);
        }
    }
    // Some machines list no outside source at all; their battery's status tells instead.
    reading.onBattery =
        sourceListed ? !sourceOnline : trimmed(batteries.front()->status) == "Discharging";
    return reading;
}

int thermalState(const std::vector<ThermalZone>& zones) {
    int state = 0;
    for (const auto& zone : zones)
        state = std::max(state, zoneState(zone));
    return state;
}

}  // namespace vigilmoth::PowerSupplies
