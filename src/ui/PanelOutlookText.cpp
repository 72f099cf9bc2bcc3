#include "ui/PanelOutlookText.h"

#include <cmath>
#include <cstdint>

#include "ui/HumaneDuration.h"

namespace vigilmoth::PanelText {
namespace {

// Whole minutes, truncated, never fewer than one (nor undefined for odd input).
std::int64_t wholeMinutesAtLeastOne(double seconds) {
    if (!std::isfinite(seconds) || seconds < 120) return 1;
    return static_cast<std::int64_t>(std::min(seconds, 1.0e15) / 60);
}

}  // namespace

std::string timeLeft(double seconds) {
    return HumaneDuration::units(static_cast<double>(wholeMinutesAtLeastOne(seconds) * 60));
}

std::string moreTime(double seconds) {
    auto minutes = wholeMinutesAtLeastOne(seconds);
    if (minutes >= 60) return timeLeft(seconds) + " more";
    return std::to_string(minutes) + (minutes == 1 ? " more minute" : " more minutes");
}

}  // namespace vigilmoth::PanelText
