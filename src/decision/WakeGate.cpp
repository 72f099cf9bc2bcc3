#include "decision/WakeGate.h"

namespace vigilmoth {

bool WakeGate::sampled(double awake, bool sleptSinceLastTick) {
    if (announced) {
        if (sleptSinceLastTick) {
            slept = true;
            steadySince = awake;
            return false;
        }
        if (steadySince && awake - *steadySince > announcedSleepPatience) {
            *this = WakeGate{};
            return true;
        }
        return false;
    }
    if (wokeAt && awake >= *wokeAt) {
        wokeAt.reset();
        return true;
    }
    return false;
}

void WakeGate::sleepAnnounced(double awake) {
    announced = true;
    wokeAt.reset();
    steadySince = awake;
}

bool WakeGate::woke(double awake) {
    if (!announced) return false;
    announced = false;
    slept = false;
    steadySince.reset();
    wokeAt = awake;
    return true;
}

}  // namespace vigilmoth
