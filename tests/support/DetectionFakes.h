#pragma once

// Stand-ins for the engine's collaborators: a scheduler whose queue and main thread run when the
// test says so, a collector of prepared samples, and a watcher whose event the test fires.
#include <deque>
#include <memory>

#include "base/DetectionScheduling.h"
#include "evidence/DetectionWatching.h"
#include "evidence/EvidenceCollecting.h"

namespace vigilmoth::testing {

class FakeScheduler final : public DetectionScheduling {
public:
    struct Tick {
        double seconds;
        std::function<void()> work;
        bool cancelled = false;
    };
    struct Token final : DetectionCancellable {
        explicit Token(std::shared_ptr<Tick> tick) : tick(std::move(tick)) {}
        void cancel() override { tick->cancelled = true; }
        std::shared_ptr<Tick> tick;
    };
    std::vector<std::shared_ptr<Tick>> ticks;
    std::deque<std::function<void()>> main;

    std::unique_ptr<DetectionCancellable> schedule(double seconds, double,
                                                   std::function<void()> work) override {
        ticks.push_back(std::make_shared<Tick>(Tick{seconds, std::move(work)}));
        return std::make_unique<Token>(ticks.back());
    }
    void onMain(std::function<void()> work) override { main.push_back(std::move(work)); }

    // The delays of the ticks still due, in the order they were scheduled.
    std::vector<double> due() const {
        std::vector<double> delays;
        for (const auto& tick : ticks)
            if (!tick->cancelled) delays.push_back(tick->seconds);
        return delays;
    }
    // Collects for every due tick; the results wait for the main thread.
    void collect() {
        for (const auto& tick : std::exchange(ticks, {}))
            if (!tick->cancelled) tick->work();
    }
    void drainMain() {
        for (; !main.empty(); main.pop_front())
            main.front()();
    }
};

class FakeCollector final : public EvidenceCollecting {
public:
    std::deque<EvidenceSample> samples;
    std::vector<std::vector<std::string>> asked;

    EvidenceSample collect(const std::vector<std::string>& userNames) override {
        asked.push_back(userNames);
        auto sample = samples.front();
        samples.pop_front();
        return sample;
    }
};

class FakeWatcher final : public DetectionWatching {
public:
    std::function<void()> onEvent;

    void watch(const std::set<std::string>&, const std::unordered_set<ProcessIdentity>&,
               std::function<void()> handler) override {
        onEvent = std::move(handler);
    }
    void stop() override { onEvent = nullptr; }
};

}  // namespace vigilmoth::testing
