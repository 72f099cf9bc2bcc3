#pragma once

namespace vigilmoth {

// A battery or heat limit that lets the machine sleep whatever the agents do.
struct SafetyStop {
    enum class Kind { batteryLow, weakCharger, tooHot };

    Kind kind = Kind::tooHot;
    // The battery charge; meaningful only for the two battery cases.
    int percent = 0;

    static SafetyStop batteryLow(int percent) { return {Kind::batteryLow, percent}; }
    static SafetyStop weakCharger(int percent) { return {Kind::weakCharger, percent}; }
    static SafetyStop tooHot() { return {Kind::tooHot, 0}; }

    bool operator==(const SafetyStop&) const = default;
};

}  // namespace vigilmoth
