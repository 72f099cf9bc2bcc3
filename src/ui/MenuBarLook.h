#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "base/MachineWord.h"

namespace vigilmoth {

// The menu-bar robot as drawn: one image per distinct look, cached by the shell.
struct MenuBarLook {
    enum class Eyes { happy, open, closed, dead };

    Eyes eyes = Eyes::closed;
    // A filled face rather than an outline.
    bool solid = false;
    double opacity = 1.0;
    bool paused = false;

    // The item's spoken label, "vigilmoth: " and what the look says.
    std::string accessibilityLabel(MachineWord machine = kMachineWord) const;

    bool operator==(const MenuBarLook&) const = default;
};

}  // namespace vigilmoth

template <>
struct std::hash<vigilmoth::MenuBarLook> {
    size_t operator()(const vigilmoth::MenuBarLook& look) const noexcept {
        size_t seed =
            static_cast<size_t>(look.eyes) * 4 + (look.solid ? 2 : 0) + (look.paused ? 1 : 0);
        // Equal doubles must hash equally: fold -0 into 0 before hashing the value.
        double opacity = look.opacity == 0 ? 0 : look.opacity;
        return seed ^ (std::hash<double>{}(opacity) + 0x9e3779b97f4a7c15ULL + (seed << 6));
    }
};
