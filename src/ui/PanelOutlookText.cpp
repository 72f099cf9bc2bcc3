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

std::optional<std::string> sleepOutlook(const SleepOutlook& outlook) {
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "Your Mac sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "vigilmoth keeps your Mac awake for " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

std::optional<std::string> waitingEnd(const SleepOutlook& outlook) {
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "your Mac sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "for at least " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

}  // namespace vigilmoth::PanelText
