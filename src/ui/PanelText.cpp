#include "ui/PanelText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ui/HumaneDuration.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth::PanelText {
namespace {

// Whole minutes, truncated, never fewer than one (nor undefined for odd input).
std::int64_t wholeMinutesAtLeastOne(double seconds) {
    if (!std::isfinite(seconds) || seconds < 120) return 1;
    return static_cast<std::int64_t>(std::min(seconds, 1.0e15) / 60);
}

}  // namespace

std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many) {
    if (const auto* single = std::get_if<HoldSubject::One>(&subject.who)) {
        return single->name + " " + std::string(one);
    }
    const auto& several = std::get<HoldSubject::Many>(subject.who);
    return std::to_string(several.count) + " agents " + std::string(many);
}

std::string percent(int n) {
    return std::to_string(n) + "%";
}

std::string time(Date date, const Calendar& calendar, const PanelLocale& locale) {
    if (!locale.twelveHour) return calendar.formatted(date, "%H:%M").value_or("");
    auto text = calendar.formatted(date, "%I:%M %p").value_or("");
    if (text.starts_with('0')) text.erase(0, 1);
    return text;
}

std::string timeLeft(double seconds) {
    return HumaneDuration::units(static_cast<double>(wholeMinutesAtLeastOne(seconds) * 60));
}

std::string moreTime(double seconds) {
    auto minutes = wholeMinutesAtLeastOne(seconds);
    if (minutes >= 60) return timeLeft(seconds) + " more";
    return std::to_string(minutes) + (minutes == 1 ? " more minute" : " more minutes");
}

std::optional<std::string> sleepOutlook(const SleepOutlook& outlook, MachineWord machine) {
    const std::string mac(machine.noun);
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "Your " + mac + " sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "vigilmoth keeps your " + mac + " awake for " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

std::optional<std::string> waitingEnd(const SleepOutlook& outlook, MachineWord machine) {
    switch (outlook.kind) {
        case SleepOutlook::Kind::sleepsIn:
            return "your " + std::string(machine.noun) + " sleeps in " + timeLeft(outlook.seconds);
        case SleepOutlook::Kind::letsGoIn:
            return "for at least " + moreTime(outlook.seconds);
        case SleepOutlook::Kind::nothingSaid:
            break;
    }
    return std::nullopt;
}

std::string idle(std::optional<double> seconds, bool finished) {
    if (!seconds) return "Idle";
    const auto duration = HumaneDuration::units(*seconds);
    if (!duration.empty()) return "Idle for " + duration;
    return finished ? "Finished a moment ago" : "Idle";
}

std::string working(double seconds, bool startSeen, const AgentVerdict& verdict) {
    using Kind = VerdictReason::Kind;
    const auto duration = HumaneDuration::units(seconds);
    const auto kind = verdict.reason.kind;
    if (kind == Kind::runningCommand || kind == Kind::backgroundJob) {
        auto line = VerdictReasonText::text(verdict.reason);
        if (!duration.empty()) line += (line.empty() ? "for " : " for ") + duration;
        return line;
    }
    if (kind == Kind::alwaysWorkingByRule) return "Always counts as working";
    if (!duration.empty()) return "Working for " + duration;
    return startSeen ? "Started a moment ago" : "Working";
}

std::string waiting(double seconds, bool startSeen) {
    const auto duration = HumaneDuration::units(seconds);
    if (!duration.empty()) return "Waiting for your answer for " + duration;
    return startSeen ? "Asked you a moment ago" : "Waiting for your answer";
}

namespace {

std::string pausedSubtitle(Date until, Date now, const Calendar& calendar,
                           const PanelLocale& locale) {
    const char* day = "%Y-%m-%d";
    // Further ahead than tomorrow still reads "tomorrow": a pause lasts at most a night.
    const bool today = calendar.formatted(until, day) == calendar.formatted(now, day);
    return std::string(today ? "Starts again at " : "Starts again tomorrow at ") +
           time(until, calendar, locale);
}

std::string stopSubtitle(const SafetyStop& stop, MachineWord machine) {
    switch (stop.kind) {
        case SafetyStop::Kind::batteryLow:
            return "The battery is at " + percent(stop.percent);
        case SafetyStop::Kind::weakCharger:
            return "Your charger is too weak and the battery is at " + percent(stop.percent);
        case SafetyStop::Kind::tooHot:
            break;
    }
    return "Your " + std::string(machine.noun) + " got too hot";
}

}  // namespace

PanelHeadline headline(const HoldHeadline& headline, const SleepOutlook& outlook, Date now,
                       const Calendar& calendar, const PanelLocale& locale, MachineWord machine) {
    using Kind = HoldHeadline::Kind;
    const std::string your = "Your " + std::string(machine.noun);
    const std::string awake = your + " stays awake";
    const std::string canSleep = your + " can sleep";
    const HoldSubject subject = headline.subject.value_or(HoldSubject::many(0));
    const auto said = [&subject](std::string_view one, std::string_view many) {
        return phrase(subject, one, many);
    };
    const Date until = headline.until.value_or(now);
    switch (headline.kind) {
        case Kind::working:
            return {awake, said("is working", "are working")};
        case Kind::waitingHeld: {
            auto subtitle = said("is waiting for you", "are waiting for you");
            if (const auto end = waitingEnd(outlook, machine)) subtitle += ", " + *end;
            return {awake, subtitle};
        }
        case Kind::finishedRecently:
            return {awake, said("finished a moment ago", "finished a moment ago")};
        case Kind::open:
            return {awake, said("is open", "are open")};
        case Kind::reachable:
            return {awake, "Reachable until " + time(until, calendar, locale)};
        case Kind::alwaysOn:
            return {awake, "Until you turn it off"};
        case Kind::remoteAccess:
            return {awake, "Reachable while plugged in"};
        case Kind::idle:
            if (const auto* one = std::get_if<HoldSubject::One>(&subject.who)) {
                return {canSleep, one->name + " is idle"};
            }
            return {canSleep, "All agents are idle"};
        case Kind::waitingReleased:
            return {canSleep, said("is waiting for you", "are waiting for you")};
        case Kind::paused:
            return {"vigilmoth is paused", pausedSubtitle(until, now, calendar, locale)};
        case Kind::safetyStop:
            return {"vigilmoth has stopped",
                    stopSubtitle(headline.stop.value_or(SafetyStop::tooHot()), machine)};
        case Kind::switchedOff:
            return {"vigilmoth is off", your + " sleeps as usual"};
        case Kind::noAgents:
            break;
    }
    return {canSleep, "No agent is open"};
}

std::string title(const PanelAction& action) {
    using Kind = PanelAction::Kind;
    switch (action.kind) {
        case Kind::pause:
            switch (action.pauseChoice) {
                case PauseChoice::thirtyMinutes:
                    return "Pause for 30 minutes";
                case PauseChoice::oneHour:
                    return "Pause for 1 hour";
                case PauseChoice::untilTomorrow:
                    return "Pause until tomorrow";
            }
            break;
        case Kind::stayReachable:
            switch (action.reachableChoice) {
                case ReachableChoice::oneHour:
                    return "Stay reachable for 1 hour";
                case ReachableChoice::twoHours:
                    return "Stay reachable for 2 hours";
                case ReachableChoice::fourHours:
                    return "Stay reachable for 4 hours";
            }
            break;
        case Kind::setAgentRule:
            switch (action.rule) {
                case AgentRule::automatic:
                    return "Automatic";
                case AgentRule::alwaysWorkingWhileOpen:
                    return "This agent is working";
                case AgentRule::ignore:
                    return "Ignore this agent";
            }
            break;
        case Kind::goToAgent:
            return "Go to " + action.app;
        case Kind::openLoginItems:
            return "Open System Settings";
        case Kind::tryHelperAgain:
            return "Try again";
        case Kind::setUpLidClosed:
            return "Set up…";
        case Kind::dismissLidClosedHint:
        case Kind::dismissSleepNote:
            return "Dismiss";
        case Kind::resume:
            return "Resume";
        case Kind::stopReachable:
            return "Stop";
        case Kind::agentNotListed:
            return "My agent is not listed";
        case Kind::openAgentSettings:
            return "Open agent settings…";
        case Kind::openHelp:
            break;
    }
    return "Help…";
}

std::string sleepReason(const SleepReason& reason) {
    struct Words {
        std::string operator()(const SleepReason::Battery& battery) const {
            return "the battery was at " + percent(battery.percent);
        }
        std::string operator()(const SleepReason::WaitedTooLong& waited) const {
            const auto hold = HumaneDuration::units(waited.hold);
            return phrase(waited.subject, "waited for you", "waited for you") +
                   (hold.empty() ? " too long" : " longer than " + hold);
        }
        std::string operator()(const SleepReason::LidClosedNoHelper&) const {
            return "the lid was closed on battery and the helper is not set up";
        }
        std::string operator()(const SleepReason::LidClosedSettingOff&) const {
            return "the lid was closed on battery and staying awake with the lid closed is off";
        }
        std::string operator()(const SleepReason::TooHot&) const { return "it got too hot"; }
        std::string operator()(const SleepReason::Paused&) const { return "vigilmoth was paused"; }
    };
    return std::visit(Words{}, reason.why);
}

std::string moreIdle(std::size_t count) {
    return HumaneDuration::counted(static_cast<std::int64_t>(count), "more idle agent");
}

std::string reachableCost() {
    return "Uses about " + percent(1) + " of battery per hour";
}

std::string batterySpoken(int percent, int floor, MachineWord machine) {
    return "Battery " + std::to_string(percent) + " percent, vigilmoth lets your " +
           std::string(machine.noun) + " sleep at " + std::to_string(floor) + " percent";
}

std::string batterySpokenStopped(int percent, int recovery) {
    return "Battery " + std::to_string(percent) + " percent, vigilmoth starts again at " +
           std::to_string(recovery) + " percent";
}

std::string menuBarAwake(MachineWord machine) {
    return "vigilmoth: Your " + std::string(machine.noun) + " stays awake";
}
std::string menuBarWaiting() {
    return "vigilmoth: An agent is waiting for you";
}
std::string menuBarCanSleep(MachineWord machine) {
    return "vigilmoth: Your " + std::string(machine.noun) + " can sleep";
}
std::string menuBarPaused() {
    return "vigilmoth: Paused";
}
std::string menuBarOff() {
    return "vigilmoth: Off";
}
std::string menuBarNeedsAttention() {
    return "vigilmoth: Needs attention";
}

}  // namespace vigilmoth::PanelText
