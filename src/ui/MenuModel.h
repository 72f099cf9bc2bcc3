#pragma once

#include <optional>
#include <string>

#include "base/Date.h"
#include "base/MachineWord.h"
#include "decision/HoldHeadline.h"
#include "ui/HeroPose.h"
#include "ui/MenuGroups.h"
#include "ui/PanelInput.h"
#include "ui/PanelState.h"
#include "ui/PanelText.h"

// What the menu-bar panel shows, as a pure function of the central state and the time: the
// shells only display it. The groups are built in MenuGroups.h.
namespace vigilmoth::MenuModel {

PanelState state(const PanelInput& input, Date now, MachineWord machine = kMachineWord);

// The two lines at the top: the helper's trouble when it keeps the machine from sleeping,
// otherwise the decision's headline with what happens when a wait runs out.
PanelHeadline headline(const PanelInput& input, Date now, MachineWord machine = kMachineWord);
HeroPose pose(const HoldHeadline& headline);

PanelBar bar(const PanelInput& input, Date now);
// "Reachable until 18:05" while a reachable period runs.
std::optional<std::string> reachableLabel(const PanelInput& input, Date now);
// The most urgent problem, if any.
std::optional<PanelAttention> attention(const PanelInput& input, Date now,
                                        MachineWord machine = kMachineWord);
// The last time the machine slept although vigilmoth watched, and why.
std::optional<PanelAttention> sleepNote(const PanelInput& input,
                                        MachineWord machine = kMachineWord);
// The battery line, on battery or while the battery limit stops vigilmoth.
std::optional<PanelBattery> battery(const PanelInput& input);
// The spoken label and tooltip of the menu-bar item, "vigilmoth: " and the headline's title.
std::string menuBarAccessibilityLabel(const PanelInput& input, Date now,
                                      MachineWord machine = kMachineWord);

}  // namespace vigilmoth::MenuModel
