#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/AwakeClock.h"
#include "base/Date.h"
#include "base/DetectionScheduling.h"
#include "decision/DetectionMemory.h"
#include "decision/DetectionSample.h"
#include "decision/DetectionSettings.h"
#include "decision/WakeGate.h"
#include "evidence/DetectionWatching.h"
#include "evidence/EvidenceCollecting.h"
#include "power/SafetyStop.h"
#include "power/SleepNotices.h"

namespace vigilmoth {

// The loop that runs detection: it has the collector gather a sample on the scheduler's queue,
// reads and decides on the main thread, publishes the result and schedules the next tick (2 s
// with agents, 5 s without, 0.2 s after a watched change or a wake). Time the machine spent
// asleep or stalled is taken out of the memories, and the wake gate keeps a new hold from
// starting across a sleep.
//
// Lives on the main thread. The collector, scheduler and watcher must outlive the work the
// scheduler still runs: the owner destroys the scheduler (which ends its queue) before them.
class DetectionEngine {
public:
    struct Parts {
        EvidenceCollecting& collector;
        DetectionScheduling& scheduler;
        DetectionWatching& watcher;
        AwakeClock clock;
        std::function<Date()> now = Date::now;
    };

    static constexpr double agentsInterval = 2;
    static constexpr double idleInterval = 5;
    static constexpr double resampleDelay = 0.2;
    // Of the delay, how much later a timer may fire so that wake-ups coalesce.
    static constexpr double leewayShare = 0.1;

    explicit DetectionEngine(Parts parts);
    ~DetectionEngine();
    DetectionEngine(const DetectionEngine&) = delete;
    DetectionEngine& operator=(const DetectionEngine&) = delete;

    // Runs the first tick at once.
    void start();
    // Drops a tick already under way when it arrives, and stops watching.
    void stop();
    bool isRunning() const { return running_; }

    // Inputs; a change of any of them decides again at once.
    void setMode(AwakeMode mode);
    void setEnabled(bool enabled);
    void setPausedUntil(std::optional<Date> until);
    void setReachableUntil(std::optional<Date> until);
    // New agent names are also matched at once, by an early tick.
    void setSettings(DetectionSettings settings);
    void setSafety(std::optional<SafetyStop> stop);

    // The system's sleep notices, for the wake gate.
    void macWillSleep();
    void macDidWake();
    // Takes the notices straight from the system, where no aggregator stands in between.
    void follow(SleepNoticing& notices);

    // Decides with the last frame's time and context, or now and a plain context before any.
    void decideAgain();

    const HoldDecision& decision() const { return decision_; }
    const std::optional<EvidenceFrame>& frame() const { return frame_; }
    const std::vector<AgentReading>& readings() const { return readings_; }
    const WakeGate& wakeGate() const { return wakeGate_; }
    const DetectionSettings& settings() const { return settings_; }
    const DetectionMemory& memory() const { return memory_; }

    // After every tick, with everything the tick found.
    std::function<void(const DetectionSample&)> onSample;
    // When the decision changes.
    std::function<void(const HoldDecision&)> onDecision;

private:
    struct Alive {
        DetectionEngine* engine;
    };

    void scheduleTick(double seconds, bool resample);
    void resampleSoon();
    void apply(const EvidenceSample& sample, std::uint64_t generation, bool resample);
    void decide(Date at, const FrameContext& context);

    Parts parts_;
    // Work that comes back to the main thread finds the engine through this, or not at all.
    std::shared_ptr<Alive> alive_;

    AwakeMode mode_ = AwakeMode::agentWorking;
    bool enabled_ = true;
    std::optional<Date> pausedUntil_;
    std::optional<Date> reachableUntil_;
    DetectionSettings settings_;
    std::optional<SafetyStop> safety_;

    HoldDecision decision_;
    std::optional<EvidenceFrame> frame_;
    std::vector<AgentReading> readings_;
    DetectionMemory memory_;
    WakeGate wakeGate_;
    std::optional<double> asleepSeen_;

    bool running_ = false;
    bool resamplePending_ = false;
    std::uint64_t generation_ = 0;
    std::unique_ptr<DetectionCancellable> tick_;
};

}  // namespace vigilmoth
