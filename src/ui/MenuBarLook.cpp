#include "ui/MenuBarLook.h"

#include "ui/PanelText.h"

namespace vigilmoth {

std::string MenuBarLook::accessibilityLabel(MachineWord machine) const {
    switch (eyes) {
        case Eyes::happy:
            return PanelText::menuBarAwake(machine);
        case Eyes::open:
            return PanelText::menuBarWaiting();
        case Eyes::closed:
            if (paused) return PanelText::menuBarPaused();
            // The switched-off robot is the sleeping one, faded.
            return opacity >= 1.0 ? PanelText::menuBarCanSleep(machine) : PanelText::menuBarOff();
        case Eyes::dead:
            break;
    }
    return PanelText::menuBarNeedsAttention();
}

}  // namespace vigilmoth
