// Show that the battery limit stops a hold at the floor and holds until five points above it,
// that a charger too weak to keep up counts as a falling battery, that heat stops everything,
// and that the no-limit warning is said at 10 and 5 percent only.
#include <gtest/gtest.h>

#include "power/SafetyMonitor.h"

namespace vigilmoth {
namespace {

struct Sample {
    std::optional<int> percent;
    bool onBattery;
    std::optional<SafetyStop> stop;
    int thermal = 0;
    bool afterGap = false;
};

TEST(SafetyMonitorTest, BatteryFloorWeakChargerAndHeat) {
    const auto low = SafetyStop::batteryLow, weak = SafetyStop::weakCharger;
    const auto hot = SafetyStop::tooHot();
    const std::optional<SafetyStop> ok;
    using S = Sample;
    const std::pair<const char*, std::vector<Sample>> runs[] = {
        {"the floor holds until five points above it",
         std::vector{S{21, true, ok}, S{20, true, low(20)}, S{24, true, low(24)}, S{25, true, ok},
                     S{std::nullopt, true, ok}}},
        // A rise resets the reference; one point is no drain; a gap forgets it.
        {"a weak charger counts as a falling battery",
         std::vector{S{50, false, ok}, S{49, false, ok}, S{48, false, ok}, S{20, false, weak(20)},
                     S{21, false, weak(21)}, S{25, false, ok}, S{26, false, ok}, S{25, false, ok},
                     S{24, false, ok}, S{20, false, weak(20)}, S{30, false, ok, 0, true}}},
        {"heat stops whatever the battery",
         std::vector{S{100, false, ok, 1}, S{100, false, hot, 2}, S{10, true, hot, 3}}},
    };
    for (const auto& [name, samples] : runs) {
        SCOPED_TRACE(name);
        SafetyMonitor monitor;
        monitor.batteryFloorPercent = 20;
        for (size_t index = 0; index < samples.size(); ++index) {
            const auto& s = samples[index];
            SCOPED_TRACE(index);
            EXPECT_EQ(monitor.update({s.percent, s.onBattery, s.thermal, false}, s.afterGap),
                      s.stop);
        }
    }
}

TEST(SafetyMonitorTest, NoLimitWarningAtTenAndFive) {
    NoLimitBatteryWarning warning;
    // Each step: percent, on battery, floor enabled, holding, what is said. Mains forgets.
    const std::tuple<int, bool, bool, bool, std::optional<int>> steps[] = {
        {12, true, false, true, {}}, {10, true, false, true, 10}, {7, true, false, true, {}},
        {5, true, false, false, {}}, {5, true, false, true, 5},   {4, true, false, true, {}},
        {4, false, false, true, {}}, {9, true, false, true, 9},   {9, true, true, true, {}}};
    for (const auto& [percent, onBattery, floorEnabled, holding, said] : steps) {
        SCOPED_TRACE(percent);
        EXPECT_EQ(warning.update({percent, onBattery, 0, false}, false, floorEnabled, holding),
                  said);
    }
}

}  // namespace
}  // namespace vigilmoth
