#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "base/TimerScheduling.h"

namespace vigilmoth::testing {

// Timers on a clock that moves only when the test says so; due timers run in time order.
class ManualTimers final : public TimerScheduling {
public:
    double now = 0;

    std::unique_ptr<Token> after(double seconds, std::function<void()> action) override {
        auto alive = std::make_shared<bool>(true);
        pending_.push_back({now + seconds, std::move(action), alive});
        return std::make_unique<Handle>(alive);
    }

    void advance(double seconds) {
        const double until = now + seconds;
        while (true) {
            std::erase_if(pending_, [](const Timer& timer) { return !*timer.alive; });
            auto next = std::min_element(pending_.begin(), pending_.end(),
                                         [](const auto& a, const auto& b) { return a.at < b.at; });
            if (next == pending_.end() || next->at > until) break;
            now = next->at;
            auto timer = std::move(*next);
            pending_.erase(next);
            if (*timer.alive) timer.action();
        }
        now = until;
    }

private:
    struct Timer {
        double at;
        std::function<void()> action;
        std::shared_ptr<bool> alive;
    };
    struct Handle final : Token {
        explicit Handle(std::shared_ptr<bool> alive) : alive(std::move(alive)) {}
        ~Handle() override { *alive = false; }
        std::shared_ptr<bool> alive;
    };
    std::vector<Timer> pending_;
};

}  // namespace vigilmoth::testing
