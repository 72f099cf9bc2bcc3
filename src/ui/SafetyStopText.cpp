#include "ui/SafetyStopText.h"

#include "ui/PanelText.h"

namespace vigilmoth::SafetyStopText {

std::string notification(const SafetyStop& stop, MachineWord machine) {
    const std::string head = "vigilmoth let your " + std::string(machine.noun) + " sleep because ";
    switch (stop.kind) {
        case SafetyStop::Kind::batteryLow:
            return head + "the battery is at " + PanelText::percent(stop.percent);
        case SafetyStop::Kind::weakCharger:
            return head + "your charger is too weak and the battery is at " +
                   PanelText::percent(stop.percent);
        case SafetyStop::Kind::tooHot:
            break;
    }
    return head + "it got too hot";
}

std::string headline(const SafetyStop& stop, MachineWord machine) {
    switch (stop.kind) {
        case SafetyStop::Kind::batteryLow:
            return "Sleeping allowed: battery at " + PanelText::percent(stop.percent);
        case SafetyStop::Kind::weakCharger:
            return "Sleeping allowed: weak charger, battery at " + PanelText::percent(stop.percent);
        case SafetyStop::Kind::tooHot:
            break;
    }
    return "Sleeping allowed: the " + std::string(machine.noun) + " is too hot";
}

}  // namespace vigilmoth::SafetyStopText
