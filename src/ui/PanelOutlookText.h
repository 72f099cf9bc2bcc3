#pragma once

#include <string>

namespace vigilmoth {

// How long a wait keeps the Mac awake, as the panel's headline and a waiting notice say it.
namespace PanelText {

// Whole minutes, at least one: anything under two minutes reads "1 minute".
std::string timeLeft(double seconds);
// "3 more minutes"; from an hour on, the coarser units of timeLeft and " more".
std::string moreTime(double seconds);

}  // namespace PanelText
}  // namespace vigilmoth
