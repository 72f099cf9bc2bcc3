#include "ui/HiddenNoticeText.h"

namespace vigilmoth::HiddenNoticeText {

std::string text(HiddenNotice notice, MachineWord machine) {
    std::string noun(machine.noun);
    switch (notice) {
        case HiddenNotice::helperSwitchedOff:
            return "Your " + noun +
                   " cannot sleep. Allow vigilmoth again in System Settings > General > Login "
                   "Items.";
        case HiddenNotice::helperNotResponding:
            return "vigilmoth cannot reach its helper. Your " + noun +
                   " will sleep when you close the lid on battery.";
    }
    return {};
}

}  // namespace vigilmoth::HiddenNoticeText
