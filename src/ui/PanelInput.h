#pragma once

#include <optional>
#include <string>
#include <unordered_map>

#include "base/Calendar.h"
#include "base/Date.h"
#include "catalog/ProcessCensus.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "decision/SleepOutlook.h"
#include "decision/SleepReason.h"
#include "evidence/EvidenceSample.h"
#include "ui/PanelText.h"
#include "ui/StateClock.h"

namespace vigilmoth {

// A snapshot of the central state, everything the menu model reads. The state aggregator
// assembles it after every change; the model turns it into a `PanelState`.
struct PanelInput {
    HoldDecision decision;
    AwakeMode mode = AwakeMode::agentWorking;
    // Per session: the label it goes by (its working folder), its hint (name, terminal), and
    // the name of the application that hosts it, where one was found.
    std::unordered_map<ProcessIdentity, std::string> labels;
    std::unordered_map<ProcessIdentity, SessionHint> hints;
    std::unordered_map<ProcessIdentity, std::string> hosts;
    Calendar calendar;
    PanelLocale locale;
    std::optional<Date> pausedUntil;
    StateClock clock;
    DetectionSettings settings;
    // The lid-closed helper. flagLeftOn: the sleep flag is on and only the helper, switched
    // off in Login Items, could clear it. lidClosedNeedsSetup: the helper is not set up (or not
    // allowed yet). The other three mirror the sleep-flag controller's state.
    bool flagLeftOn = false;
    bool lidClosedNeedsSetup = false;
    bool helperNotResponding = false;
    bool helperRepairTried = false;
    bool helperLost = false;
    bool lidClosedHintDismissed = false;
    std::optional<Date> reachableUntil;
    bool enabled = true;
    bool onBattery = false;
    MacSleepState macSleep;
    // Absent on a machine without a battery.
    std::optional<int> batteryPercent;
    std::optional<SleepNote> sleepNote;

    bool operator==(const PanelInput&) const = default;
};

}  // namespace vigilmoth
