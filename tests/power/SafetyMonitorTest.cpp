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

void runSamples(const std::vector<Sample>& samples) {
    SafetyMonitor monitor;
    monitor.batteryFloorPercent = 20;
    for (size_t index = 0; index < samples.size(); ++index) {
        const auto& s = samples[index];
        SCOPED_TRACE(index);
        EXPECT_EQ(monitor.update({s.percent, s.onBattery, s.thermal, false}, s.afterGap), s.stop);
    }
}

TEST(SafetyMonitorTest, BatteryFloorWithHysteresis) {
    runSamples({{21, true, {}},
                {20, true, SafetyStop::batteryLow(20)},
                {24, true, SafetyStop::batteryLow(24)},
                {25, true, {}},
                {std::nullopt, true, {}}});
}

TEST(SafetyMonitorTest, AWeakChargerCountsAsAFallingBattery) {
    runSamples({{50, false, {}},
                {49, false, {}},
                {48, false, {}},  // draining from here
                {20, false, SafetyStop::weakCharger(20)},
                {21, false, SafetyStop::weakCharger(21)},  // risen, but the limit holds
                {25, false, {}},
                {26, false, {}},  // a rise resets the reference
                {25, false, {}},  // one point is no drain
                {24, false, {}},
                {20, false, SafetyStop::weakCharger(20)},
                {30, false, {}, 0, true}});
}

TEST(SafetyMonitorTest, HeatStopsWhateverTheBattery) {
    runSamples({{100, false, {}, 1},
                {100, false, SafetyStop::tooHot(), 2},
                {10, true, SafetyStop::tooHot(), 3}});
}

TEST(SafetyMonitorTest, NoLimitWarningAtTenAndFive) {
    struct Case {
        int percent;
        bool onBattery, floorEnabled, holding;
        std::optional<int> said;
    };
    NoLimitBatteryWarning warning;
    for (const auto& c : std::vector<Case>{{12, true, false, true, {}},
                                           {10, true, false, true, 10},
                                           {7, true, false, true, {}},
                                           {5, true, false, false, {}},
                                           {5, true, false, true, 5},
                                           {4, true, false, true, {}},
                                           {4, false, false, true, {}},  // forgets
                                           {9, true, false, true, 9},
                                           {9, true, true, true, {}}}) {
        SCOPED_TRACE(c.percent);
        EXPECT_EQ(
            warning.update({c.percent, c.onBattery, 0, false}, false, c.floorEnabled, c.holding),
            c.said);
    }
}

}  // namespace
}  // namespace vigilmoth
