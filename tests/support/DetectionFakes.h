#pragma once

// Stand-ins for the detection engine's collaborators: a scheduler whose queue and main thread
// run only when the test says so, a collector that hands out prepared samples, and a watcher
// whose event the test fires.
#include <deque>
#include <memory>

#include "base/DetectionScheduling.h"
#include "evidence/DetectionWatching.h"
#include "evidence/EvidenceCollecting.h"

namespace vigilmoth::testing {

class FakeScheduler final : public DetectionScheduling {
public:
    struct Tick : DetectionCancellable {
        double seconds;
        std::function<void()> work;
        bool cancelled = false;
        void cancel() override { cancelled = true; }
    };
    struct Token final : DetectionCancellable {
        std::shared_ptr<Tick> tick;
        void cancel() override { tick->cancel(); }
    };
    std::vector<std::shared_ptr<Tick>> ticks;
    std::deque<std::function<void()>> main;

    std::unique_ptr<DetectionCancellable> schedule(double seconds, double,
                                                   std::function<void()> work) override {
        auto tick = std::make_shared<Tick>();
        tick->seconds = seconds;
        tick->work = std::move(work);
        ticks.push_back(tick);
        auto token = std::make_unique<Token>();
        token->tick = tick;
        return token;
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
        while (!main.empty()) {
            auto work = std::move(main.front());
            main.pop_front();
            work();
        }
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
    std::set<std::string> files;

    void watch(const std::set<std::string>& watched, const std::unordered_set<ProcessIdentity>&,
               std::function<void()> handler) override {
        files = watched;
        onEvent = std::move(handler);
    }
    void stop() override { onEvent = nullptr; }
};

}  // namespace vigilmoth::testing
