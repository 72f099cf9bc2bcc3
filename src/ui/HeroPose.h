#pragma once

namespace vigilmoth {

// The robot's pose at the top of the panel and in the menu bar: the hold state at a glance.
struct HeroPose {
    enum class Kind { awake, safetyStop, reachable, attentive, asleep, off, paused, helperOff };
    enum class SafetyKind { battery, heat };

    Kind kind = Kind::asleep;
    // For awake: how many wisps rise above the robot, the livelier the more it works.
    int wisps = 0;
    // For safetyStop.
    SafetyKind safety = SafetyKind::battery;

    static constexpr HeroPose awake(int wisps) { return {Kind::awake, wisps, {}}; }
    static constexpr HeroPose safetyStop(SafetyKind kind) { return {Kind::safetyStop, 0, kind}; }
    static constexpr HeroPose reachable() { return {Kind::reachable, 0, {}}; }
    static constexpr HeroPose attentive() { return {Kind::attentive, 0, {}}; }
    static constexpr HeroPose asleep() { return {Kind::asleep, 0, {}}; }
    static constexpr HeroPose off() { return {Kind::off, 0, {}}; }
    static constexpr HeroPose paused() { return {Kind::paused, 0, {}}; }
    static constexpr HeroPose helperOff() { return {Kind::helperOff, 0, {}}; }

    constexpr bool operator==(const HeroPose&) const = default;
};

}  // namespace vigilmoth
