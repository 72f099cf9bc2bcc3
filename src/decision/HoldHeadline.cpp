#include "decision/HoldHeadline.h"

namespace vigilmoth {

bool HoldHeadline::keepsAwake() const {
    switch (kind) {
        case Kind::working:
        case Kind::waitingHeld:
        case Kind::finishedRecently:
        case Kind::open:
        case Kind::reachable:
        case Kind::alwaysOn:
        case Kind::remoteAccess:
            return true;
        case Kind::idle:
        case Kind::waitingReleased:
        case Kind::safetyStop:
        case Kind::paused:
        case Kind::noAgents:
        case Kind::switchedOff:
            break;
    }
    return false;
}

}  // namespace vigilmoth
