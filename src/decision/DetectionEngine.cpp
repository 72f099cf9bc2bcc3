#include "decision/DetectionEngine.h"

#include <cmath>

#include "evidence/StoredDates.h"

namespace vigilmoth {
namespace {

// An asleep clock that moved less than this has not seen a sleep, only rounding.
constexpr double asleepTolerance = 1;

}  // namespace

DetectionEngine::DetectionEngine(Parts parts)
    : parts_(std::move(parts)), alive_(std::make_shared<Alive>(Alive{this})) {}

DetectionEngine::~DetectionEngine() {
    stop();
}

void DetectionEngine::start() {
    running_ = true;
    resamplePending_ = false;
    scheduleTick(0, false);
}

void DetectionEngine::stop() {
    if (!running_) return;
    running_ = false;
    ++generation_;
    if (tick_) tick_->cancel();
    tick_.reset();
    resamplePending_ = false;
    parts_.watcher.stop();
}

void DetectionEngine::scheduleTick(double seconds, bool resample) {
    if (tick_) tick_->cancel();
    auto& collector = parts_.collector;
    auto& scheduler = parts_.scheduler;
    std::weak_ptr<Alive> alive = alive_;
    tick_ = scheduler.schedule(
        seconds, seconds * leewayShare,
        [&collector, &scheduler, alive, names = settings_.userAgentNames, generation = generation_,
         resample] {
            auto sample = collector.collect(names);
            scheduler.onMain([alive, sample = std::move(sample), generation, resample] {
                if (auto engine = alive.lock()) engine->engine->apply(sample, generation, resample);
            });
        });
}

void DetectionEngine::resampleSoon() {
    if (!running_ || resamplePending_) return;
    resamplePending_ = true;
    scheduleTick(resampleDelay, true);
}

void DetectionEngine::apply(const EvidenceSample& sample, std::uint64_t generation, bool resample) {
    if (!running_ || generation != generation_) return;
    const double started = parts_.clock.awake();
    const auto frame = withStoredDates(sample.frame);
    auto gap = memory_.pass(SampleTime{frame.at, frame.awake});

    double asleep = parts_.clock.asleep();
    bool slept = false;
    if (!asleepSeen_ || std::abs(asleep - *asleepSeen_) > asleepTolerance) {
        slept = asleepSeen_.has_value();
        asleepSeen_ = asleep;
    }
    double awake = frame.awake.value_or(parts_.clock.awake());
    // A fresh start after a wake or a cancelled sleep, unless a hold carries over.
    if (wakeGate_.sampled(awake, slept) && !decision_.hold) memory_.forgetPolicy();

    readings_ = memory_.read(frame, settings_);
    frame_ = frame;
    decide(frame.at, frame.context);
    double cost = sample.cost + (parts_.clock.awake() - started);

    if (onSample) {
        onSample(DetectionSample{frame, readings_, decision_, cost, sample.sessionHints,
                                 gap.has_value()});
    }
    // The observer may have stopped the engine.
    if (!running_) return;
    std::weak_ptr<Alive> alive = alive_;
    auto& scheduler = parts_.scheduler;
    parts_.watcher.watch(sample.watchedFiles, sample.roots, [alive, &scheduler] {
        scheduler.onMain([alive] {
            if (auto engine = alive.lock()) engine->engine->resampleSoon();
        });
    });
    if (resample) resamplePending_ = false;
    if (!resamplePending_)
        scheduleTick(frame.agents.empty() ? idleInterval : agentsInterval, false);
}

void DetectionEngine::decide(Date at, const FrameContext& context) {
    HoldSituation situation{
        .mode = mode_,
        .enabled = enabled_,
        .pausedUntil = pausedUntil_,
        .reachableUntil = reachableUntil_,
        .safetyStop = safety_,
        .context = context,
        .previousHold = decision_.hold,
        .wake = wakeGate_.permission(),
    };
    auto decision = memory_.decide(readings_, settings_, situation, at);
    if (decision == decision_) return;
    decision_ = std::move(decision);
    if (onDecision) onDecision(decision_);
}

void DetectionEngine::decideAgain() {
    if (frame_) {
        decide(frame_->at, frame_->context);
    } else {
        decide(parts_.now(), FrameContext{});
    }
}

void DetectionEngine::setMode(AwakeMode mode) {
    if (mode == mode_) return;
    mode_ = mode;
    decideAgain();
}

void DetectionEngine::setEnabled(bool enabled) {
    if (enabled == enabled_) return;
    enabled_ = enabled;
    decideAgain();
}

void DetectionEngine::setPausedUntil(std::optional<Date> until) {
    if (until == pausedUntil_) return;
    pausedUntil_ = until;
    decideAgain();
}

void DetectionEngine::setReachableUntil(std::optional<Date> until) {
    if (until == reachableUntil_) return;
    reachableUntil_ = until;
    decideAgain();
}

void DetectionEngine::setSettings(DetectionSettings settings) {
    if (settings == settings_) return;
    bool namesChanged = settings.userAgentNames != settings_.userAgentNames;
    settings_ = std::move(settings);
    decideAgain();
    if (namesChanged) resampleSoon();
}

void DetectionEngine::setSafety(std::optional<SafetyStop> stop) {
    if (stop == safety_) return;
    safety_ = stop;
    decideAgain();
}

void DetectionEngine::macWillSleep() {
    wakeGate_.sleepAnnounced(parts_.clock.awake());
}

void DetectionEngine::macDidWake() {
    if (wakeGate_.woke(parts_.clock.awake())) resampleSoon();
}

void DetectionEngine::follow(SleepNoticing& notices) {
    // The notices run on the main loop, as the engine does; a notice after the engine is gone
    // finds nothing.
    notices.onNotice([alive = std::weak_ptr<Alive>(alive_)](SleepNotice notice) {
        auto engine = alive.lock();
        if (!engine) return;
        if (notice == SleepNotice::willSleep) {
            engine->engine->macWillSleep();
        } else {
            engine->engine->macDidWake();
        }
    });
}

}  // namespace vigilmoth
