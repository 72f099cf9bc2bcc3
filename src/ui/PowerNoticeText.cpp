#include "ui/PowerNoticeText.h"

#include "ui/PanelText.h"

namespace vigilmoth::PowerNoticeText {

std::string batteryLimitOff(int percent) {
    return "The battery is at " + PanelText::percent(percent) + ". vigilmoth keeps your " +
           std::string(kMachine) + " awake because the battery limit is off.";
}

}  // namespace vigilmoth::PowerNoticeText
