#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/Calendar.h"
#include "base/Date.h"
#include "base/MachineWord.h"
#include "decision/AgentReading.h"
#include "decision/HoldHeadline.h"
#include "decision/HoldSubject.h"
#include "decision/SleepOutlook.h"
#include "decision/SleepReason.h"
#include "ui/PanelAction.h"

namespace vigilmoth {

// How the user's clock writes a time of day; the shell reads it from the system's settings.
struct PanelLocale {
    // "6:05 PM" rather than "18:05".
    bool twelveHour = false;

    bool operator==(const PanelLocale&) const = default;
};

// The two lines at the top of the panel.
struct PanelHeadline {
    std::string title;
    std::string subtitle;

    bool operator==(const PanelHeadline&) const = default;
};

// The panel's wording, shared with the headlines and notices that speak the same way.
namespace PanelText {

// "Claude Code is working" for one agent, "3 agents are working" for many.
std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many);

// A whole percentage with its sign, as the battery and safety texts show it.
std::string percent(int n);

// The time of day in the short style of the user's clock, without a date: "18:05", "6:05 PM".
std::string time(Date date, const Calendar& calendar, const PanelLocale& locale);

// How long a wait keeps the machine awake: whole minutes, at least one, so that anything under
// two minutes reads "1 minute".
std::string timeLeft(double seconds);
// "3 more minutes"; from an hour on, the coarser units of timeLeft and " more".
std::string moreTime(double seconds);

// The panel's line on what happens when the wait runs out; none when nothing is said.
std::optional<std::string> sleepOutlook(const SleepOutlook& outlook,
                                        MachineWord machine = kMachineWord);
// The same, as the tail of a waiting agent's headline.
std::optional<std::string> waitingEnd(const SleepOutlook& outlook,
                                      MachineWord machine = kMachineWord);

// The status line of a session row in each state. `seconds` is how long the session has been
// in it; an idle time may be unknown. `finished`: the session has just ended a turn;
// `startSeen`: the clock saw the session enter the state.
std::string idle(std::optional<double> seconds, bool finished);
std::string working(double seconds, bool startSeen, const AgentVerdict& verdict);
std::string waiting(double seconds, bool startSeen);

// The panel's headline for the decision's headline; a waiting hold says when it ends.
PanelHeadline headline(const HoldHeadline& headline, const SleepOutlook& outlook, Date now,
                       const Calendar& calendar, const PanelLocale& locale,
                       MachineWord machine = kMachineWord);

// The button or menu title of an action.
std::string title(const PanelAction& action);

// Shown with the stay-reachable choices: a fixed estimate of one percent per hour.
std::string reachableCost();
// The spoken battery line; the numbers are plain integers, not percents.
std::string batterySpoken(int percent, int floor, MachineWord machine = kMachineWord);
std::string batterySpokenStopped(int percent, int recovery);

// The row under which further idle agents are folded: "2 more idle agents".
std::string moreIdle(std::size_t count);

// Why the machine slept although vigilmoth was watching: the words after "slept at 10:04: ".
std::string sleepReason(const SleepReason& reason);

// The spoken label and tooltip of the menu-bar item, each "vigilmoth: " and a phrase.
std::string menuBarAwake(MachineWord machine = kMachineWord);
std::string menuBarWaiting();
std::string menuBarCanSleep(MachineWord machine = kMachineWord);
std::string menuBarPaused();
std::string menuBarOff();
std::string menuBarNeedsAttention();

}  // namespace PanelText
}  // namespace vigilmoth
