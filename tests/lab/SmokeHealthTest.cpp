// Show the smoke test's health rules at their limits, and the report line they make.
#include "lab/SmokeHealth.h"

#include <gtest/gtest.h>

#include <functional>

namespace vigilmoth {
namespace {

using Step = SmokeMeasurements::Step;

// Ten quiet seconds with every step done: healthy.
SmokeMeasurements healthy() {
    return {.seconds = 10,
            .ticks = 100,
            .cpuPercent = 1,
            .cpuBySecond = std::vector<double>(10, 1.0),
            .stepSeconds = {2},
            .panelSeconds = {3, 4},
            .sceneEvaluations = 10,
            .publishes = 10,
            .samples = 5,
            .statusItem = true,
            .statusItemImage = true,
            .iconToggle = Step::ok,
            .settingsWindow = Step::skipped,
            .panel = Step::ok};
}

TEST(SmokeHealthTest, EachLimitAtItsEdge) {
    struct Case {
        const char* name;
        std::function<void(SmokeMeasurements&)> change;
        std::vector<std::string> failures;
    };
    const std::vector<Case> cases = {
        {"healthy", [](auto&) {}, {}},
        {"80 ticks", [](auto& m) { m.ticks = 80; }, {}},
        {"79 ticks",
         [](auto& m) { m.ticks = 79; },
         {"main run loop ticked 79 times, expected about 100"}},
        {"499 ms", [](auto& m) { m.longestStallMs = 499; }, {}},
        {"500 ms", [](auto& m) { m.longestStallMs = 500; }, {"main thread stalled for 500 ms"}},
        {"no steady second",
         [](auto& m) {
             m.seconds = 3;
             m.ticks = 30;
             m.cpuBySecond = {1, 1, 1};
             m.panelSeconds = {0, 1};
         },
         {"0 steady seconds to judge the processor time by, expected 2 or more"}},
        {"median 15",
         [](auto& m) {
             m.cpuBySecond = {0, 0, 0, 0, 0, 10, 20};
             m.seconds = 7;
             m.ticks = 70;
         },
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
        {"menu not run", [](auto& m) { m.panel = Step::notRun; }, {"showing the menu: notRun"}},
        {"skipped steps", [](auto& m) { m.panel = m.iconToggle = Step::skipped; }, {}},
        {"scenes",
         [](auto& m) { m.sceneEvaluations = 500; },
         {"scenes worked out 50 times per second"}},
        {"no tray",
         [](auto& m) {
             m.statusItem = m.statusItemImage = false;
             m.iconToggle = Step::failed;
         },
         {"no status item", "hiding and showing the icon: failed"}},
        {"no image", [](auto& m) { m.statusItemImage = false; }, {"status item has no image"}},
        {"one sample",
         [](auto& m) { m.samples = 1; },
         {"engine gave 1 samples, expected 2 or more"}},
        {"preferences failed",
         [](auto& m) { m.settingsWindow = Step::failed; },
         {"opening Preferences: failed"}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        auto measurements = healthy();
        testCase.change(measurements);
        EXPECT_EQ(SmokeHealth::failures(measurements), testCase.failures);
    }
}

TEST(SmokeHealthTest, TheLineIsSortedJSONWithTheHangFirst) {
    auto measurements = healthy();
    measurements.sceneEvaluations = 12;
    const auto report = parseJSON(SmokeHealth::line(measurements, "the main thread hung"));
    ASSERT_TRUE(report);
    EXPECT_EQ((*report)["failures"], nlohmann::json::array({"the main thread hung"}));
    EXPECT_EQ((*report)["healthy"], false);
    EXPECT_EQ((*report)["sceneEvaluationsPerSecond"], 1.2);
    EXPECT_EQ((*report)["measurements"]["settingsWindow"], "skipped");
    const auto line = SmokeHealth::line(SmokeMeasurements{}, std::nullopt);
    EXPECT_EQ(line.find(R"({"failures":[)"), 0u) << line;
    EXPECT_NE(line.find(R"("sceneEvaluationsPerSecond":0)"), std::string::npos) << line;
    EXPECT_EQ(line.find("scenes worked out"), std::string::npos) << line;
}

}  // namespace
}  // namespace vigilmoth
