#include "platform/linux/SystemAwakeClock.h"

#include <time.h>

#include <algorithm>

namespace vigilmoth::SystemAwakeClock {
namespace {

double seconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace

double awake() {
    return seconds(CLOCK_MONOTONIC);
}

double asleep() {
    // Read the awake clock first, so that the difference cannot come out below zero but for
    // rounding, which is cut off.
    double up = awake();
    return std::max(0.0, seconds(CLOCK_BOOTTIME) - up);
}

AwakeClock clock() {
    return {awake, asleep};
}

}  // namespace vigilmoth::SystemAwakeClock
