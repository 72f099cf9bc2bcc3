#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/JSONCoding.h"

namespace vigilmoth {

// What a smoke test of the running application measured.
struct SmokeMeasurements {
    // How one step of the interface went.
    enum class Step { ok, failed, skipped, notRun };

    double seconds = 0;
    // How often the main loop's 0.1-second probe fired.
    std::int64_t ticks = 0;
    std::int64_t longestStallMs = 0;
    // Percent of one core over the run, and in each whole second of it.
    double cpuPercent = 0;
    std::vector<double> cpuBySecond;
    // The seconds in which a step of the interface was taken, or the menu was open.
    std::vector<std::int64_t> stepSeconds;
    std::vector<std::int64_t> panelSeconds;
    std::int64_t clicksIgnored = 0;
    std::int64_t sceneEvaluations = 0;
    std::int64_t publishes = 0;
    std::int64_t samples = 0;
    bool statusItem = false;
    bool statusItemImage = false;
    Step iconToggle = Step::notRun;
    Step settingsWindow = Step::notRun;
    Step panel = Step::notRun;

    bool operator==(const SmokeMeasurements&) const = default;
};

OrderedJSON encodeJSON(const SmokeMeasurements& measurements, const JSONEncoder& encoder);

// Whether a smoke test's measurements make a healthy build, and the one JSON line that says so.
namespace SmokeHealth {

// The processor use of the seconds that count as steady: from the third second on, with no
// step taken and the menu closed.
std::vector<double> steadyCPU(const SmokeMeasurements& measurements);
// The processor use of the seconds with the menu open.
std::vector<double> panelCPU(const SmokeMeasurements& measurements);
double median(std::vector<double> values);
// What is wrong, one sentence per broken limit, in the order the limits are checked.
std::vector<std::string> failures(const SmokeMeasurements& measurements);
// The report line; `hang`, when the watchdog found the main loop hung, comes first.
std::string line(const SmokeMeasurements& measurements, const std::optional<std::string>& hang);

}  // namespace SmokeHealth
}  // namespace vigilmoth
