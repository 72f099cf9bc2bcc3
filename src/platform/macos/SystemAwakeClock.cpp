#include "platform/macos/SystemAwakeClock.h"

#include <mach/mach_time.h>

#include <algorithm>

namespace vigilmoth::SystemAwakeClock {
namespace {

double seconds(uint64_t ticks) {
    static const mach_timebase_info_data_t timebase = [] {
        mach_timebase_info_data_t info{1, 1};
        mach_timebase_info(&info);
        return info;
    }();
    return static_cast<double>(ticks) * timebase.numer / timebase.denom / 1e9;
}

}  // namespace

double awake() {
    return seconds(mach_absolute_time());
}

double asleep() {
    // The awake clock first, so that the difference cannot come out below zero but for
    // rounding, which is cut off.
    uint64_t up = mach_absolute_time();
    uint64_t continuous = mach_continuous_time();
    return continuous > up ? seconds(continuous - up) : 0.0;
}

AwakeClock clock() {
    return {awake, asleep};
}

}  // namespace vigilmoth::SystemAwakeClock
