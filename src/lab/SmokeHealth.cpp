#include "lab/SmokeHealth.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>

namespace vigilmoth {
namespace {

constexpr double kProbeSeconds = 0.1;
constexpr double kTickShare = 0.8;
constexpr std::int64_t kStallMs = 500;
constexpr std::size_t kJudgedSeconds = 2;
constexpr double kSteadyMedian = 15.0;
constexpr double kSteadyMean = 40.0;
constexpr double kPanelMedian = 12.0;
constexpr double kSceneRate = 50.0;

const char* word(SmokeMeasurements::Step step) {
    switch (step) {
        case SmokeMeasurements::Step::ok:
            return "ok";
        case SmokeMeasurements::Step::failed:
            return "failed";
        case SmokeMeasurements::Step::skipped:
            return "skipped";
        case SmokeMeasurements::Step::notRun:
            break;
    }
    return "notRun";
}

double tenths(double value) {
    return std::round(value * 10) / 10;
}

// A percentage in a message: one decimal, and always one ("15.0").
std::string percent(double value) {
    std::ostringstream text;
    text.precision(1);
    text << std::fixed << tenths(value);
    return text.str();
}

bool broken(SmokeMeasurements::Step step) {
    return step == SmokeMeasurements::Step::failed || step == SmokeMeasurements::Step::notRun;
}

bool listed(const std::vector<std::int64_t>& seconds, std::int64_t second) {
    return std::find(seconds.begin(), seconds.end(), second) != seconds.end();
}

double mean(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

}  // namespace

OrderedJSON encodeJSON(const SmokeMeasurements& m, const JSONEncoder&) {
    return OrderedJSON{{"seconds", m.seconds},
                       {"ticks", m.ticks},
                       {"longestStallMs", m.longestStallMs},
                       {"cpuPercent", m.cpuPercent},
                       {"cpuBySecond", m.cpuBySecond},
                       {"stepSeconds", m.stepSeconds},
                       {"panelSeconds", m.panelSeconds},
                       {"clicksIgnored", m.clicksIgnored},
                       {"sceneEvaluations", m.sceneEvaluations},
                       {"publishes", m.publishes},
                       {"samples", m.samples},
                       {"statusItem", m.statusItem},
                       {"statusItemImage", m.statusItemImage},
                       {"iconToggle", word(m.iconToggle)},
                       {"settingsWindow", word(m.settingsWindow)},
                       {"panel", word(m.panel)}};
}

namespace SmokeHealth {

std::vector<double> steadyCPU(const SmokeMeasurements& m) {
    std::vector<double> steady;
    for (std::size_t second = 2; second < m.cpuBySecond.size(); ++second) {
        const auto number = static_cast<std::int64_t>(second);
        if (!listed(m.stepSeconds, number) && !listed(m.panelSeconds, number))
            steady.push_back(m.cpuBySecond[second]);
    }
    return steady;
}

std::vector<double> panelCPU(const SmokeMeasurements& m) {
    std::vector<double> open;
    for (std::size_t second = 0; second < m.cpuBySecond.size(); ++second)
        if (listed(m.panelSeconds, static_cast<std::int64_t>(second)))
            open.push_back(m.cpuBySecond[second]);
    return open;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const auto middle = values.size() / 2;
    if (values.size() % 2 == 1) return values[middle];
    return (values[middle - 1] + values[middle]) / 2;
}

std::vector<std::string> failures(const SmokeMeasurements& m) {
    std::vector<std::string> found;
    const auto expected = static_cast<std::int64_t>(m.seconds / kProbeSeconds);
    if (static_cast<double>(m.ticks) < kTickShare * static_cast<double>(expected))
        found.push_back("main run loop ticked " + std::to_string(m.ticks) +
                        " times, expected about " + std::to_string(expected));
    if (m.longestStallMs >= kStallMs)
        found.push_back("main thread stalled for " + std::to_string(m.longestStallMs) + " ms");
    const auto steady = steadyCPU(m);
    if (steady.size() < kJudgedSeconds) {
        found.push_back(std::to_string(steady.size()) +
                        " steady seconds to judge the processor time by, expected 2 or more");
    } else {
        if (const double middle = median(steady); middle >= kSteadyMedian)
            found.push_back("used " + percent(middle) +
                            "% of one core in the median steady second");
        if (const double average = mean(steady); average >= kSteadyMean)
            found.push_back("used " + percent(average) + "% of one core over the steady seconds");
    }
    if (broken(m.panel)) {
        found.push_back(std::string("showing the menu: ") + word(m.panel));
    } else if (m.panel == SmokeMeasurements::Step::ok) {
        const auto open = panelCPU(m);
        if (open.size() < kJudgedSeconds) {
            found.push_back(std::to_string(open.size()) +
                            " seconds with the menu open to judge the processor time by, "
                            "expected 2 or more");
        } else if (const double middle = median(open); middle >= kPanelMedian) {
            found.push_back("used " + percent(middle) +
                            "% of one core in the median second with the menu open");
        }
    }
    if (m.seconds > 0) {
        if (const double rate = static_cast<double>(m.sceneEvaluations) / m.seconds;
            rate >= kSceneRate)
            found.push_back("scenes worked out " + std::to_string(static_cast<std::int64_t>(rate)) +
                            " times per second");
    }
    if (!m.statusItem) {
        found.push_back("no status item");
    } else if (!m.statusItemImage) {
        found.push_back("status item has no image");
    }
    if (m.samples < 2)
        found.push_back("engine gave " + std::to_string(m.samples) +
                        " samples, expected 2 or more");
    if (broken(m.iconToggle))
        found.push_back(std::string("hiding and showing the icon: ") + word(m.iconToggle));
    if (broken(m.settingsWindow))
        found.push_back(std::string("opening Preferences: ") + word(m.settingsWindow));
    return found;
}

std::string line(const SmokeMeasurements& m, const std::optional<std::string>& hang) {
    auto found = failures(m);
    if (hang) found.insert(found.begin(), *hang);
    const double rate =
        m.seconds > 0 ? tenths(static_cast<double>(m.sceneEvaluations) / m.seconds) : 0;
    try {
        const OrderedJSON report{{"measurements", encodeJSON(m, JSONEncoder{})},
                                 {"sceneEvaluationsPerSecond", rate},
                                 {"healthy", found.empty()},
                                 {"failures", found}};
        return JSONEncoder{.sortedKeys = true, .escapeSlashes = false}.text(report);
    } catch (const std::exception&) {
        return R"({"healthy":false,"failures":["the report could not be written"]})";
    }
}

}  // namespace SmokeHealth
}  // namespace vigilmoth
