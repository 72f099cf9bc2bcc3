// Show the smoke test's health rules at their limits, and the report line they make.
#include "lab/SmokeHealth.h"

#include <gtest/gtest.h>

#include <functional>

namespace vigilmoth {
namespace {

using Step = SmokeMeasurements::Step;
using Change = std::function<void(SmokeMeasurements&)>;

// Ten quiet seconds with every step done, the menu open in seconds 3 and 4: healthy.
SmokeMeasurements healthy(const Change& change = {}) {
    SmokeMeasurements m{.seconds = 10,
                        .ticks = 100,
                        .cpuBySecond = std::vector<double>(10, 1.0),
                        .stepSeconds = {2},
                        .panelSeconds = {3, 4},
                        .sceneEvaluations = 10,
                        .samples = 5,
                        .statusItem = true,
                        .statusItemImage = true,
                        .iconToggle = Step::ok,
                        .settingsWindow = Step::skipped,
                        .panel = Step::ok};
    if (change) change(m);
    return m;
}

TEST(SmokeHealthTest, EachLimitAtItsEdgeInItsOrder) {
    const std::vector<std::tuple<const char*, Change, std::vector<std::string>>> cases = {
        {"healthy", {}, {}},
        {"at the limits",
         [](auto& m) {
             m.ticks = 80;
             m.longestStallMs = 499;
             m.sceneEvaluations = 499;
             m.panel = m.iconToggle = Step::skipped;
         },
         {}},
        {"past them",
         [](auto& m) {
             m.ticks = 79;
             m.longestStallMs = 500;
             m.sceneEvaluations = 500;
             m.statusItemImage = false;
             m.samples = 1;
             m.settingsWindow = Step::failed;
         },
         {"main run loop ticked 79 times, expected about 100", "main thread stalled for 500 ms",
          "scenes worked out 50 times per second", "status item has no image",
          "engine gave 1 samples, expected 2 or more", "opening Preferences: failed"}},
        {"no steady second",
         [](auto& m) {
             m.seconds = 3;
             m.ticks = 30;
             m.cpuBySecond = {1, 1, 1};
             m.panel = Step::skipped;
         },
         {"0 steady seconds to judge the processor time by, expected 2 or more"}},
        {"median 15",
         [](auto& m) { m.cpuBySecond = {0, 0, 0, 0, 0, 10, 20}; },
         {"used 15.0% of one core in the median steady second"}},
        {"mean 40",
         [](auto& m) { m.cpuBySecond = {0, 0, 0, 0, 0, 1, 1, 118}; },
         {"used 40.0% of one core over the steady seconds"}},
        {"menu busy",
         [](auto& m) { m.cpuBySecond[3] = m.cpuBySecond[4] = 12.04; },
         {"used 12.0% of one core in the median second with the menu open"}},
        {"menu open a second",
         [](auto& m) { m.panelSeconds = {3}; },
         {"1 seconds with the menu open to judge the processor time by, expected 2 or more"}},
        {"no tray",
         [](auto& m) {
             m.statusItem = m.statusItemImage = false;
             m.iconToggle = m.panel = Step::notRun;
         },
         {"showing the menu: notRun", "no status item", "hiding and showing the icon: notRun"}},
    };
    for (const auto& [name, change, failures] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(SmokeHealth::failures(healthy(change)), failures);
    }
}

TEST(SmokeHealthTest, TheLineIsSortedJSONWithTheHangFirst) {
    const auto line = SmokeHealth::line(healthy([](auto& m) { m.sceneEvaluations = 12; }),
                                        "the main thread hung");
    EXPECT_EQ(line.find(R"({"failures":["the main thread hung"],"healthy":false,"measurements":)"),
              0u)
        << line;
    EXPECT_NE(line.find(R"("sceneEvaluationsPerSecond":1.2})"), std::string::npos) << line;
    const auto empty = SmokeHealth::line(SmokeMeasurements{}, std::nullopt);
    EXPECT_NE(empty.find(R"("sceneEvaluationsPerSecond":0.0})"), std::string::npos) << empty;
}

}  // namespace
}  // namespace vigilmoth
