#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/AwakeClock.h"
#include "base/Calendar.h"
#include "base/Date.h"
#include "base/DetectionScheduling.h"
#include "base/KeyValueStore.h"
#include "base/TimerScheduling.h"
#include "catalog/ProcessCensus.h"
#include "decision/DetectionEngine.h"
#include "decision/DetectionSettings.h"
#include "decision/SleepReason.h"
#include "decision/TimedModes.h"
#include "power/PowerKeeper.h"
#include "power/SafetyMonitor.h"
#include "power/SleepFlagController.h"
#include "state/AgentHostActions.h"
#include "state/AggregatorNotices.h"
#include "ui/PanelInput.h"
#include "ui/StateClock.h"

namespace vigilmoth {

// The collaborators the state aggregator is built from. The system builds the real set; tests
// and the lab hand in doubles.
struct AggregatorParts {
    KeyValueStore& defaults;
    SleepFlagController& sleepFlag;
    PowerHolding& power;
    TimerScheduling& timers;
    // The engine's collaborators; they must outlive the aggregator.
    EvidenceCollecting& collector;
    DetectionScheduling& scheduler;
    DetectionWatching& watcher;
    AwakeClock clock;
    ProcessCensusing& census;
    AggregatorNoticesParts notices;
    // A process's working directory; the core cannot read the process table itself.
    std::function<std::optional<std::string>(std::int32_t pid)> workingDirectory;
    std::function<Date()> now = Date::now;
    Calendar calendar;
};

// The one central state: owns the detection engine, applies every decision to the power
// keeper and the sleep flag, runs the safety limits and the notices, carries out the user's
// switches (on/off, mode, pause, reachable, rules, settings) and publishes the `PanelInput`.
// Lives on the main loop for the whole run.
class StateAggregator {
public:
    // Beyond these the stored or running end is not plausible any more (a clock change).
    static constexpr double kPauseHorizon = 90000;
    static constexpr double kReachableHorizon = 14400;
    static constexpr double kHelperRefreshSeconds = 30;
    static constexpr double kQuitFlagTimeout = 2;

    explicit StateAggregator(AggregatorParts parts);
    ~StateAggregator();
    StateAggregator(const StateAggregator&) = delete;
    StateAggregator& operator=(const StateAggregator&) = delete;

    // Runs after every tick of the engine.
    void sampled(const DetectionSample& sample);
    // Runs on every new decision of the engine.
    void apply(const HoldDecision& decision);
    void updatePower();
    void syncSleepFlag();
    void refreshRows();

    void setEnabled(bool enabled);
    void setMode(AwakeMode mode);
    void setSettings(const DetectionSettings& settings);
    void setPause(Pause pause);
    void setReachable(Reachable reachable);
    // Ends a pause in force instead of switching off: "off" while paused means "resume".
    void toggleEnabled();
    void startPause(PauseChoice choice);
    void startReachable(ReachableChoice choice);
    void resumeNow();
    void stopReachable();
    void settlePause();
    void setRule(AgentRule rule, const std::string& agentID);

    // The notifier's report on a posting, and a click on a notice.
    void noticeDelivered(const std::string& id, AgentNoticeDelivery delivery);
    bool openNotice(const AgentNoticeTarget& target);
    // Brings forward the application of a session, else the `fallback` application.
    bool goToAgent(const ProcessIdentity& identity, std::optional<std::int32_t> fallback);

    void macWillSleep();
    void macDidWake();
    // On quit: stops watching and lets the machine sleep again.
    void shutdown();

    bool enabled() const { return enabled_; }
    AwakeMode mode() const { return mode_; }
    const DetectionSettings& settings() const { return settings_; }
    const Pause& pause() const { return pause_; }
    const Reachable& reachable() const { return reachable_; }
    const HoldDecision& decision() const { return decision_; }
    const std::optional<SleepNote>& sleepNote() const { return sleepNote_; }
    const std::unordered_map<ProcessIdentity, std::string>& sessionLabels() const {
        return sessionLabels_;
    }
    const DetectionEngine& engine() const { return *engine_; }
    const AggregatorNotices& notices() const { return notices_; }
    const PanelInput& panelInput() const { return panelInput_; }
    std::uint64_t samples() const { return samples_; }
    // Runs when the published `PanelInput` changed.
    std::function<void(const PanelInput&)> onChange;

private:
    void armPauseTimer();
    void armReachableTimer();
    bool flagInUse() const;
    void publish();

    AggregatorParts parts_;
    Logger log_{"StateAggregator"};
    bool enabled_ = true;
    AwakeMode mode_ = AwakeMode::agentWorking;
    DetectionSettings settings_;
    AgentNoticeSettings noticeSettings_;
    Pause pause_;
    Reachable reachable_;
    HoldDecision decision_;
    std::unordered_map<ProcessIdentity, SessionHint> sessionHints_;
    std::unordered_map<ProcessIdentity, std::string> sessionLabels_;
    bool hasBattery_ = false;
    bool onBattery_ = false;
    std::optional<int> batteryPercent_;
    std::optional<SleepNote> sleepNote_;
    StateClock stateClock_;
    SafetyMonitor safetyMonitor_;
    NoLimitBatteryWarning noLimitWarning_;
    std::optional<SafetyStop> stop_;
    SleepFlagRequest flagRequest_;
    AggregatorNotices notices_;
    AgentHostActions hostActions_;
    std::optional<SleepSnapshot> sleepSnapshot_;
    std::uint64_t samples_ = 0;
    std::optional<double> lastHelperRefresh_;
    std::unique_ptr<TimerScheduling::Token> pauseTimer_;
    std::unique_ptr<TimerScheduling::Token> reachableTimer_;
    PanelInput panelInput_;
    std::unique_ptr<DetectionEngine> engine_;
    // Work that comes back to the main loop later finds the aggregator through this, or not.
    std::shared_ptr<StateAggregator*> self_;
};

}  // namespace vigilmoth
