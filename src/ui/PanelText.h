#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "decision/HoldSubject.h"
#include "decision/SleepOutlook.h"
#include "ui/MachineWord.h"

namespace vigilmoth {

// The panel's wording, shared with the headlines and notices that speak the same way.
namespace PanelText {

// "Claude Code is working" for one agent, "3 agents are working" for many.
std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many);

// A whole percentage with its sign, as the battery and safety texts show it.
std::string percent(int n);

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

}  // namespace PanelText
}  // namespace vigilmoth
