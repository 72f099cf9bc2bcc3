#include "ui/MenuModel.h"

#include <utility>

#include "power/SafetyMonitor.h"

namespace vigilmoth::MenuModel {

namespace {

using Attention = PanelAttention::Kind;

// Within this many points above the floor the battery line warns that sleep is near.
constexpr int nearFloorPoints = 10;
// Without a battery limit, the level at which the battery line warns that it is nearly empty:
// the first warning of NoLimitBatteryWarning.
constexpr int nearEmptyPercent = 10;

bool isPaused(const PanelInput& input, Date now) {
    return input.pausedUntil && now < *input.pausedUntil;
}

std::string timeOf(const PanelInput& input, Date date) {
    return PanelText::time(date, input.calendar, input.locale);
}

std::optional<SafetyStop> stopOf(const HoldDecision& decision) {
    if (decision.headline.kind != HoldHeadline::Kind::safetyStop) return std::nullopt;
    return decision.headline.stop;
}

PanelAttention safetyAttention(const SafetyStop& stop, const PanelInput& input,
                               MachineWord machine) {
    if (stop.kind == SafetyStop::Kind::tooHot) {
        return {Attention::safetyStop,
                "vigilmoth starts again when your " + std::string(machine.noun) + " is cool",
                {}};
    }
    const int recovery = input.settings.batteryFloorPercent + SafetyMonitor::kHysteresis;
    return {Attention::safetyStop, "vigilmoth starts again at " + PanelText::percent(recovery), {}};
}

// The helper and lid-closed lines; the helper's own trouble before what it prevents.
std::optional<PanelAttention> lidClosedAttention(const PanelInput& input, Date now,
                                                 MachineWord machine) {
    const std::string mac(machine.noun);
    // Without a battery, or with staying awake under a closed lid switched off, the lid-closed
    // helper changes nothing the user wants.
    const bool hasBattery = input.batteryPercent.has_value();
    const bool wanted = hasBattery && input.settings.stayAwakeLidClosedOnBattery;
    if (wanted && input.helperNotResponding) {
        std::vector actions{PanelAction::tryHelperAgain()};
        if (input.helperRepairTried) actions.push_back(PanelAction::openHelp());
        return PanelAttention{Attention::helperNotResponding,
                              "vigilmoth cannot reach its helper. Your " + mac +
                                  " will sleep when you close the lid on battery.",
                              std::move(actions)};
    }
    if (wanted && input.helperLost) {
        return PanelAttention{Attention::helperLost,
                              "vigilmoth has to set up its helper again",
                              {PanelAction::setUpLidClosed()}};
    }
    const bool reachable = input.reachableUntil && now < *input.reachableUntil;
    if (reachable && hasBattery && (input.lidClosedNeedsSetup || !wanted)) {
        std::vector<PanelAction> actions;
        if (input.lidClosedNeedsSetup) actions.push_back(PanelAction::setUpLidClosed());
        return PanelAttention{Attention::reachableNeedsLidClosed,
                              "Your " + mac + " still sleeps with the lid closed on battery",
                              std::move(actions)};
    }
    // Only while vigilmoth holds the machine, when closing the lid would end that hold.
    if (wanted && input.lidClosedNeedsSetup && !input.lidClosedHintDismissed &&
        input.decision.hold) {
        return PanelAttention{
            Attention::lidClosedNotSetUp,
            "Close the lid and your " + mac + " still sleeps. Set up the helper to stay reachable.",
            {PanelAction::setUpLidClosed(), PanelAction::dismissLidClosedHint()}};
    }
    return std::nullopt;
}

}  // namespace

HeroPose pose(const HoldHeadline& headline) {
    using Kind = HoldHeadline::Kind;
    switch (headline.kind) {
        case Kind::working:
            return HeroPose::awake(2);
        case Kind::finishedRecently:
            return HeroPose::awake(1);
        case Kind::open:
        case Kind::alwaysOn:
            return HeroPose::awake(0);
        case Kind::reachable:
        case Kind::remoteAccess:
            return HeroPose::reachable();
        case Kind::waitingHeld:
        case Kind::waitingReleased:
            return HeroPose::attentive();
        case Kind::paused:
            return HeroPose::paused();
        case Kind::switchedOff:
            return HeroPose::off();
        case Kind::safetyStop:
            return HeroPose::safetyStop(headline.stop &&
                                                headline.stop->kind == SafetyStop::Kind::tooHot
                                            ? HeroPose::SafetyKind::heat
                                            : HeroPose::SafetyKind::battery);
        case Kind::idle:
        case Kind::noAgents:
            break;
    }
    return HeroPose::asleep();
}

PanelHeadline headline(const PanelInput& input, Date now, MachineWord machine) {
    if (input.flagLeftOn) {
        return {"Your " + std::string(machine.noun) + " cannot sleep",
                "The helper of vigilmoth was turned off in Login Items"};
    }
    const SleepOutlook outlook(input.decision, input.macSleep, now);
    return PanelText::headline(input.decision.headline, outlook, now, input.calendar, input.locale,
                               machine);
}

std::optional<std::string> reachableLabel(const PanelInput& input, Date now) {
    if (!input.reachableUntil || !(now < *input.reachableUntil)) return std::nullopt;
    return "Reachable until " + timeOf(input, *input.reachableUntil);
}

PanelBar bar(const PanelInput& input, Date now) {
    PanelBar made{.enabled = input.enabled, .mode = input.mode};
    const bool paused = isPaused(input, now);
    made.reachableLabel = reachableLabel(input, now);
    if (paused) {
        made.pausedLabel = "Paused until " + timeOf(input, *input.pausedUntil);
        made.pauseActions = {PanelAction::resume()};
    } else if (input.enabled) {
        for (auto choice :
             {PauseChoice::thirtyMinutes, PauseChoice::oneHour, PauseChoice::untilTomorrow}) {
            made.pauseActions.push_back(PanelAction::pause(choice));
        }
    }
    if (made.reachableLabel) {
        made.reachableActions = {PanelAction::stopReachable()};
    } else if (input.enabled && !paused) {
        for (auto choice :
             {ReachableChoice::oneHour, ReachableChoice::twoHours, ReachableChoice::fourHours}) {
            made.reachableActions.push_back(PanelAction::stayReachable(choice));
        }
    }
    // What staying reachable costs matters only to a machine with a battery.
    if (!made.reachableActions.empty() && input.batteryPercent) {
        made.reachableCost = PanelText::reachableCost();
    }
    return made;
}

std::optional<PanelAttention> attention(const PanelInput& input, Date now, MachineWord machine) {
    const std::string mac(machine.noun);
    if (const auto stop = stopOf(input.decision)) return safetyAttention(*stop, input, machine);
    if (input.flagLeftOn) {
        return PanelAttention{
            Attention::helperSwitchedOff,
            "Allow vigilmoth again in Login Items, and your " + mac + " sleeps as usual",
            {PanelAction::openLoginItems()}};
    }
    if (auto lidClosed = lidClosedAttention(input, now, machine)) return lidClosed;
    if (input.sleepNote) {
        return PanelAttention{Attention::sleptAnyway,
                              "Your " + mac + " slept at " + timeOf(input, input.sleepNote->at),
                              {PanelAction::dismissSleepNote()}};
    }
    return std::nullopt;
}

std::optional<PanelAttention> sleepNote(const PanelInput& input, MachineWord machine) {
    if (!input.sleepNote) return std::nullopt;
    const auto& note = *input.sleepNote;
    std::vector<PanelAction> actions;
    if (std::holds_alternative<SleepReason::LidClosedNoHelper>(note.reason.why)) {
        actions.push_back(PanelAction::setUpLidClosed());
    }
    actions.push_back(PanelAction::dismissSleepNote());
    return PanelAttention{Attention::sleptAnyway,
                          "Your " + std::string(machine.noun) + " slept at " +
                              timeOf(input, note.at) + ": " + PanelText::sleepReason(note.reason),
                          std::move(actions)};
}

std::optional<PanelBattery> battery(const PanelInput& input) {
    if (!input.batteryPercent) return std::nullopt;
    const auto stop = stopOf(input.decision);
    const bool stopped = stop && stop->kind != SafetyStop::Kind::tooHot;
    // On mains the battery is no concern, unless a charger too weak for it stopped vigilmoth.
    if (!input.onBattery && !stopped) return std::nullopt;
    PanelBattery made{.percent = *input.batteryPercent};
    if (input.settings.batteryFloorEnabled) made.floor = input.settings.batteryFloorPercent;
    if (stopped) {
        made.level = PanelBattery::Level::stopped;
    } else if (made.floor && made.percent <= *made.floor + nearFloorPoints) {
        made.level = PanelBattery::Level::nearFloor;
    } else if (!made.floor && made.percent <= nearEmptyPercent) {
        made.level = PanelBattery::Level::nearEmpty;
    }
    return made;
}

std::string menuBarAccessibilityLabel(const PanelInput& input, Date now, MachineWord machine) {
    if (auto reachable = reachableLabel(input, now)) return "vigilmoth: " + *reachable;
    return "vigilmoth: " + headline(input, now, machine).title;
}

PanelState state(const PanelInput& input, Date now, MachineWord machine) {
    PanelState made;
    made.pose = input.flagLeftOn ? HeroPose::helperOff() : pose(input.decision.headline);
    auto top = headline(input, now, machine);
    made.title = std::move(top.title);
    made.subtitle = std::move(top.subtitle);
    auto shown = groups(input, now, machine);
    made.groups = std::move(shown.inView);
    made.moreIdle = std::move(shown.moreIdle);
    if (made.groups.empty()) {
        const bool noAgents = input.decision.headline.kind == HoldHeadline::Kind::noAgents &&
                              made.pose != HeroPose::helperOff();
        made.emptyText = noAgents ? "Start an agent and vigilmoth keeps your " +
                                        std::string(machine.noun) + " awake while it works"
                                  : "No agent is open";
        made.emptyAction = PanelAction::agentNotListed();
    }
    auto line = bar(input, now);
    made.pausedLabel = std::move(line.pausedLabel);
    made.reachableLabel = std::move(line.reachableLabel);
    made.pauseActions = std::move(line.pauseActions);
    made.reachableActions = std::move(line.reachableActions);
    made.reachableCost = std::move(line.reachableCost);
    // The sleep note takes the attention line when nothing is more urgent, and a line of its
    // own otherwise, so that it is shown once and always with its reason.
    made.attention = attention(input, now, machine);
    made.sleepNote = sleepNote(input, machine);
    if (made.attention && made.attention->kind == Attention::sleptAnyway) {
        made.attention = std::exchange(made.sleepNote, std::nullopt);
    }
    made.battery = battery(input);
    made.menuBarAccessibilityLabel = menuBarAccessibilityLabel(input, now, machine);
    return made;
}

}  // namespace vigilmoth::MenuModel
