#include "ui/RobotLook.h"

#include <array>
#include <cstddef>

namespace vigilmoth {

namespace {

struct Row {
    MenuBarLook::Eyes eyes;
    RobotLook::Fill fill;
    double opacity;
    bool paused;
};

using enum MenuBarLook::Eyes;
using enum RobotLook::Fill;

// Indexed by `HeroPose::Kind`. Solid while vigilmoth holds the machine or wants the user, an
// outline while the machine may sleep; switched off, the sleeping robot fades, which is all that
// tells it from asleep. Both troubles have dead eyes and read "Needs attention".
constexpr std::array<Row, 8> looks = {{
    {happy, solid, 1.0, false},     // awake
    {dead, outline, 1.0, false},    // safetyStop, with its badge
    {happy, outline, 1.0, false},   // reachable
    {open, solid, 1.0, false},      // attentive
    {closed, outline, 1.0, false},  // asleep
    {closed, outline, 0.5, false},  // off
    {closed, outline, 1.0, true},   // paused
    {dead, solid, 1.0, false},      // helperOff
}};
static_assert(looks.size() == static_cast<std::size_t>(HeroPose::Kind::helperOff) + 1);

}  // namespace

RobotLook::RobotLook(const HeroPose& pose) {
    const Row& row = looks.at(static_cast<std::size_t>(pose.kind));
    eyes = row.eyes;
    fill = row.fill;
    opacity = row.opacity;
    paused = row.paused;
    if (pose.kind == HeroPose::Kind::awake) wisps = pose.wisps;
    if (pose.kind == HeroPose::Kind::safetyStop) warning = pose.safety;
}

}  // namespace vigilmoth
