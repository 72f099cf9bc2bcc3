#pragma once

#include <cstdint>
#include <vector>

#include "ui/MenuBarLook.h"

namespace vigilmoth {

// The menu-bar robot drawn as pixels, for shells that take an image rather than draw one (the
// Linux tray sends it over the bus): a square of `size` pixels, each four bytes alpha, red,
// green, blue, rows from the top. The figure is the robot of the macOS menu bar, 21 × 20
// points, centred and scaled to the square; a grey that reads on dark and light panels alike
// stands in for the template image the system would tint there.
struct MenuBarPixmap {
    int size = 0;
    std::vector<std::uint8_t> argb;

    static MenuBarPixmap draw(const MenuBarLook& look, int size);

    bool operator==(const MenuBarPixmap&) const = default;
};

}  // namespace vigilmoth
