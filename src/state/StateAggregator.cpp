#include "state/StateAggregator.h"

#include <utility>

#include "base/DefaultsKeys.h"
#include "base/MachineWord.h"
#include "base/NameCoded.h"
#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettingsStore.h"
#include "state/AgentRules.h"
#include "ui/HoldHeadlineText.h"
#include "ui/PanelText.h"
#include "ui/SafetyStopText.h"

namespace vigilmoth {

namespace {

std::optional<Date> storedDate(const KeyValueStore& store, const char* key) {
    const auto seconds = store.numberValue(key);
    if (!seconds) return std::nullopt;
    return Date(*seconds);
}

void storeDate(KeyValueStore& store, const char* key, const std::optional<Date>& date) {
    if (date) {
        store.set(key, date->secondsSince1970());
    } else {
        store.remove(key);
    }
}

SafetyInputs safetyInputs(const FrameContext& context) {
    return {.percent = context.batteryPercent,
            .onBattery = context.onBattery,
            .thermalState = context.thermalState,
            .charging = context.charging};
}

// A working directory names the session only when it says more than the root.
std::optional<std::string> folderLabel(const std::string& path) {
    if (path.empty() || path == "/") return std::nullopt;
    auto trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/')
        trimmed.pop_back();
    const auto slash = trimmed.rfind('/');
    auto last = slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
    if (last.empty()) return std::nullopt;
    return last;
}

}  // namespace

StateAggregator::StateAggregator(AggregatorParts parts)
    : parts_(std::move(parts)),
      notices_(parts_.notices),
      hostActions_(parts_.notices.hosts, parts_.census),
      self_(std::make_shared<StateAggregator*>(this)) {
    auto& defaults = parts_.defaults;
    enabled_ = defaults.boolValue(defaults_keys::enabled).value_or(true);
    mode_ = storedAwakeMode(defaults.stringValue(defaults_keys::mode));
    settings_ = DetectionSettingsStore::load(defaults, AgentCatalog::standard());
    noticeSettings_ = AgentNoticeSettings::load(defaults);
    safetyMonitor_.batteryFloorPercent = settings_.batteryFloorPercent;
    safetyMonitor_.batteryFloorEnabled = settings_.batteryFloorEnabled;

    const Date now = parts_.now();
    pause_ = Pause(storedDate(defaults, defaults_keys::pausedUntil), now);
    reachable_ = Reachable(storedDate(defaults, defaults_keys::reachableUntil), now);

    engine_ = std::make_unique<DetectionEngine>(DetectionEngine::Parts{
        parts_.collector, parts_.scheduler, parts_.watcher, parts_.clock, parts_.now});
    engine_->setMode(mode_);
    engine_->setEnabled(enabled_);
    engine_->setPausedUntil(pause_.until);
    engine_->setReachableUntil(reachable_.until);
    engine_->setSettings(settings_);
    engine_->onSample = [this](const DetectionSample& sample) { sampled(sample); };
    engine_->onDecision = [this](const HoldDecision& decision) { apply(decision); };
    notices_.onChange = [this] { publish(); };
    hostActions_.onChange = [this] { publish(); };
    armPauseTimer();
    armReachableTimer();
    engine_->start();
}

StateAggregator::~StateAggregator() {
    // The engine's callbacks point here; it goes first.
    engine_.reset();
}

void StateAggregator::sampled(const DetectionSample& sample) {
    ++samples_;
    const auto& context = sample.frame.context;
    sessionHints_ = sample.sessionHints;
    hasBattery_ = context.batteryPercent.has_value();
    onBattery_ = context.onBattery;
    batteryPercent_ = context.batteryPercent;

    const auto inputs = safetyInputs(context);
    const auto stop = safetyMonitor_.update(inputs, sample.afterGap);
    if (!stop_ && stop && parts_.power.held() && parts_.notices.notify)
        parts_.notices.notify(SafetyStopText::notification(*stop));

    if (const auto warned =
            noLimitWarning_.update(inputs, safetyMonitor_.drain().draining,
                                   settings_.batteryFloorEnabled, parts_.power.held());
        warned && parts_.notices.notify) {
        parts_.notices.notify("The battery is at " + PanelText::percent(*warned) +
                              ". vigilmoth keeps your " + std::string(kMachineWord.noun) +
                              " awake because the battery limit is off.");
    }

    if (stop != stop_) {
        stop_ = stop;
        engine_->setSafety(stop);
    }
    if (stop && reachable_.until) setReachable(Reachable{});

    const auto& flag = parts_.sleepFlag;
    notices_.announceHiddenNotice(
        {.showMenuBarIcon = true,
         .helperStatus = flag.helperStatus(),
         .sleepDisabled = flag.sleepDisabled(),
         .hasBattery = hasBattery_,
         .stayAwakeLidClosedOnBattery = settings_.stayAwakeLidClosedOnBattery,
         .setup = flag.setup()});
    notices_.updateMacSleep(context, sample.frame.at, flagInUse());
    notices_.announceAgents(sample,
                            {.settings = noticeSettings_,
                             .active = enabled_ && !pause_.isActive(sample.frame.at),
                             .labels = sessionLabels_},
                            parts_.now());

    const Date now = parts_.now();
    const auto beyond = [now](const std::optional<Date>& until, double horizon) {
        return until && (*until < now || *until - now > horizon);
    };
    if (beyond(pause_.until, kPauseHorizon) || beyond(reachable_.until, kReachableHorizon))
        settlePause();

    updatePower();
    parts_.sleepFlag.sampled();
    parts_.sleepFlag.refreshHealth();
    syncSleepFlag();
    const double awake = parts_.clock.awake();
    if (!lastHelperRefresh_ || awake - *lastHelperRefresh_ >= kHelperRefreshSeconds) {
        lastHelperRefresh_ = awake;
        parts_.sleepFlag.refreshStatus();
        syncSleepFlag();
    }
    publish();
}

void StateAggregator::apply(const HoldDecision& decision) {
    decision_ = decision;
    refreshRows();
    updatePower();
    syncSleepFlag();
    publish();
}

void StateAggregator::refreshRows() {
    std::unordered_map<ProcessIdentity, std::string> labels;
    for (const auto& hold : decision_.perAgent) {
        const auto& reading = hold.reading;
        if (const auto kept = sessionLabels_.find(reading.identity); kept != sessionLabels_.end()) {
            labels.emplace(reading.identity, kept->second);
            continue;
        }
        if (reading.kind != AgentDefinition::Kind::cli ||
            reading.verdict.state == ReportedState::idle || !parts_.workingDirectory)
            continue;
        if (const auto path = parts_.workingDirectory(reading.identity.pid))
            if (auto label = folderLabel(*path))
                labels.emplace(reading.identity, std::move(*label));
    }
    sessionLabels_ = std::move(labels);
    stateClock_ = stateClock_.updated(engine_->readings(), parts_.now());
    hostActions_.refreshAgentHosts(engine_->readings(), false);
}

void StateAggregator::updatePower() {
    const auto reason = HoldHeadlineText::awakeReason(decision_.headline);
    if (decision_.hold && reason) {
        parts_.power.hold("vigilmoth: " + *reason);
    } else {
        parts_.power.release();
    }
}

void StateAggregator::syncSleepFlag() {
    const bool wanted = decision_.lidClosedFlag;
    auto& flag = parts_.sleepFlag;
    if (!wanted) flag.stopWanting();
    const bool ready = flag.helperStatus() == HelperStatus::enabled;
    const auto value = flagRequest_.next(wanted, ready, parts_.clock.awake());
    if (!value) return;
    // The helper answers later; the request learns of a failure only while the aggregator lives.
    std::weak_ptr<StateAggregator*> alive = self_;
    parts_.scheduler.onMain([alive, value = *value] {
        const auto self = alive.lock();
        if (!self) return;
        auto* aggregator = *self;
        aggregator->parts_.sleepFlag.send(value, "agent", [alive, value](bool confirmed) {
            const auto again = alive.lock();
            if (!again || confirmed) return;
            (*again)->flagRequest_.noteFailure(value, (*again)->parts_.clock.awake());
        });
    });
}

void StateAggregator::setEnabled(bool enabled) {
    parts_.defaults.set(defaults_keys::enabled, enabled);
    const bool changed = enabled != enabled_;
    enabled_ = enabled;
    if (changed) engine_->setEnabled(enabled);
    resumeNow();
    if (!enabled) stopReachable();
    publish();
}

void StateAggregator::setMode(AwakeMode mode) {
    parts_.defaults.set(defaults_keys::mode, std::string(*codedName(mode)));
    if (mode == mode_) return;
    mode_ = mode;
    engine_->setMode(mode);
    publish();
}

void StateAggregator::setSettings(const DetectionSettings& settings) {
    if (settings == settings_) return;
    settings_ = settings;
    DetectionSettingsStore::save(settings_, parts_.defaults);
    safetyMonitor_.batteryFloorPercent = settings_.batteryFloorPercent;
    safetyMonitor_.batteryFloorEnabled = settings_.batteryFloorEnabled;
    engine_->setSettings(settings_);
    publish();
}

void StateAggregator::setPause(Pause pause) {
    if (pause.until == pause_.until) return;
    pause_ = pause;
    storeDate(parts_.defaults, defaults_keys::pausedUntil, pause_.until);
    engine_->setPausedUntil(pause_.until);
    armPauseTimer();
    publish();
}

void StateAggregator::setReachable(Reachable reachable) {
    if (reachable.until == reachable_.until) return;
    reachable_ = reachable;
    storeDate(parts_.defaults, defaults_keys::reachableUntil, reachable_.until);
    engine_->setReachableUntil(reachable_.until);
    armReachableTimer();
    publish();
}

void StateAggregator::toggleEnabled() {
    const Date now = parts_.now();
    if (pause_.isActive(now) && *pause_.until - now <= kPauseHorizon) {
        resumeNow();
        return;
    }
    setEnabled(!enabled_);
}

void StateAggregator::startPause(PauseChoice choice) {
    if (!enabled_) return;
    setReachable(Reachable{});
    Pause pause = pause_;
    pause.start(choice, parts_.now(), parts_.calendar);
    setPause(pause);
}

void StateAggregator::startReachable(ReachableChoice choice) {
    if (!enabled_) return;
    setPause(Pause{});
    Reachable reachable;
    reachable.until = parts_.now() + duration(choice);
    setReachable(reachable);
}

void StateAggregator::resumeNow() {
    setPause(Pause{});
}

void StateAggregator::stopReachable() {
    setReachable(Reachable{});
}

void StateAggregator::settlePause() {
    const Date now = parts_.now();
    Pause pause = pause_;
    pause.settle(now);
    Reachable reachable = reachable_;
    reachable.settle(now);
    setPause(pause);
    setReachable(reachable);
    armPauseTimer();
    armReachableTimer();
}

void StateAggregator::armPauseTimer() {
    pauseTimer_.reset();
    if (!pause_.until) return;
    const double delay = std::max(0.0, *pause_.until - parts_.now());
    pauseTimer_ = parts_.timers.after(delay, [this] { settlePause(); });
}

void StateAggregator::armReachableTimer() {
    reachableTimer_.reset();
    if (!reachable_.until) return;
    const double delay = std::max(0.0, *reachable_.until - parts_.now());
    reachableTimer_ = parts_.timers.after(delay, [this] { settlePause(); });
}

void StateAggregator::setRule(AgentRule rule, const std::string& agentID) {
    setSettings(AgentRules::withRule(settings_, agentID, rule));
}

void StateAggregator::noticeDelivered(const std::string& id, AgentNoticeDelivery delivery) {
    notices_.delivered(id, delivery);
}

bool StateAggregator::openNotice(const AgentNoticeTarget& target) {
    return hostActions_.open(target, engine_->readings());
}

bool StateAggregator::goToAgent(const ProcessIdentity& identity,
                                std::optional<std::int32_t> fallback) {
    return hostActions_.goToAgent(identity, fallback, engine_->readings());
}

void StateAggregator::macWillSleep() {
    sleepNote_.reset();
    const auto& context = engine_->frame() ? engine_->frame()->context : FrameContext{};
    bool agentActive = false;
    double waitingHold = 0;
    for (const auto& hold : decision_.perAgent)
        if (hold.cause && settings_.rule(hold.reading.agentID) != AgentRule::ignore)
            agentActive = true;
    if (decision_.waitingEnds) waitingHold = settings_.waitingHold;
    sleepSnapshot_ = SleepSnapshot{
        .at = parts_.now(),
        .headline = decision_.headline,
        .agentActive = agentActive,
        .lidClosed = context.lidClosed,
        .onBattery = context.onBattery,
        .helperSetUp = parts_.sleepFlag.setup() == HelperSetup::ready,
        .lidClosedWanted = settings_.stayAwakeLidClosedOnBattery,
        .waitingHold = waitingHold,
    };
    engine_->macWillSleep();
    publish();
}

void StateAggregator::macDidWake() {
    engine_->macDidWake();
    if (sleepSnapshot_)
        if (auto reason = SleepReason::reason(*sleepSnapshot_))
            sleepNote_ = SleepNote{.at = parts_.now(), .reason = std::move(*reason)};
    sleepSnapshot_.reset();
    publish();
}

void StateAggregator::shutdown() {
    engine_->stop();
    pauseTimer_.reset();
    reachableTimer_.reset();
    parts_.sleepFlag.clearForQuit(kQuitFlagTimeout);
    parts_.power.release();
}

bool StateAggregator::flagInUse() const {
    return parts_.sleepFlag.sleepDisabled() && !parts_.sleepFlag.flagUnconfirmed();
}

void StateAggregator::publish() {
    PanelInput input;
    input.decision = decision_;
    input.mode = mode_;
    input.labels = sessionLabels_;
    input.hints = sessionHints_;
    for (const auto& [identity, name] : hostActions_.agentHosts())
        if (name) input.hosts.emplace(identity, *name);
    input.calendar = parts_.calendar;
    input.pausedUntil = pause_.until;
    input.clock = stateClock_;
    input.settings = settings_;
    const auto& flag = parts_.sleepFlag;
    input.lidClosedNeedsSetup = flag.setup() != HelperSetup::ready;
    input.helperNotResponding = flag.notResponding();
    input.helperRepairTried = flag.repairTried();
    input.lidClosedHintDismissed =
        parts_.defaults.boolValue(defaults_keys::lidClosedHintDismissed).value_or(false);
    input.reachableUntil = reachable_.until;
    input.enabled = enabled_;
    input.onBattery = onBattery_;
    input.macSleep = notices_.macSleep();
    input.batteryPercent = batteryPercent_;
    input.sleepNote = sleepNote_;
    if (input == panelInput_) return;
    panelInput_ = std::move(input);
    if (onChange) onChange(panelInput_);
}

}  // namespace vigilmoth
