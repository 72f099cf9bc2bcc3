#pragma once

#include <optional>

#include "ui/HeroPose.h"
#include "ui/MenuBarLook.h"

namespace vigilmoth {

// How the robot looks in a pose: the panel's figure and, through `menuBar()`, the menu-bar icon.
struct RobotLook {
    enum class Fill { outline, solid };

    MenuBarLook::Eyes eyes = MenuBarLook::Eyes::closed;
    Fill fill = Fill::outline;
    double opacity = 1.0;
    bool paused = false;
    // Wisps above the head of the awake robot.
    int wisps = 0;
    // The badge of a safety stop: a battery or a thermometer.
    std::optional<HeroPose::SafetyKind> warning;

    explicit RobotLook(const HeroPose& pose);

    MenuBarLook menuBar() const { return {eyes, fill == Fill::solid, opacity, paused}; }

    bool operator==(const RobotLook&) const = default;
};

}  // namespace vigilmoth
