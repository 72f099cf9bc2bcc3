#pragma once

#include <optional>
#include <string>

#include "decision/SleepOutlook.h"

namespace vigilmoth {

// How long a wait keeps the Mac awake, as the panel's headline and a waiting notice say it.
namespace PanelText {

// Whole minutes, at least one: anything under two minutes reads "1 minute".
std::string timeLeft(double seconds);
// "3 more minutes"; from an hour on, the coarser units of timeLeft and " more".
std::string moreTime(double seconds);

// The panel's line on what happens when the wait runs out; none when nothing is said.
std::optional<std::string> sleepOutlook(const SleepOutlook& outlook);
// The same, as the tail of a waiting agent's headline.
std::optional<std::string> waitingEnd(const SleepOutlook& outlook);

}  // namespace PanelText
}  // namespace vigilmoth
