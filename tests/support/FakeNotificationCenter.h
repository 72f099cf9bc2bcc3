#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "notices/NotificationCentering.h"

namespace vigilmoth::testing {

// A notification centre that answers at once, or holds its answers back until `answer()`, and
// keeps what reached it.
class FakeNotificationCenter final : public NotificationCentering {
public:
    NotificationAllowance allowance{NotificationAllowance::Status::authorized, true, true, true};
    std::optional<NotificationError> addError;
    bool holdAnswers = false;

    std::vector<NotificationRequest> added;
    std::vector<std::string> removed;
    std::function<void(const nlohmann::json&, double)> click;

    void requestAuthorization(Done done) override {
        later([done] { done(std::nullopt); });
    }
    void readSettings(std::function<void(NotificationAllowance)> done) override {
        later([this, done] { done(allowance); });
    }
    void add(const NotificationRequest& request, Done done) override {
        added.push_back(request);
        later([this, done] { done(addError); });
    }
    void removeDelivered(const std::vector<std::string>& identifiers) override {
        removed.insert(removed.end(), identifiers.begin(), identifiers.end());
    }
    void openSettings() override {}
    void onResponse(std::function<void(const nlohmann::json&, double)> handler) override {
        click = std::move(handler);
    }

    // Runs the held answers, and those they lead to.
    void answer() {
        while (!held_.empty()) {
            auto next = std::move(held_.front());
            held_.erase(held_.begin());
            next();
        }
    }

private:
    void later(std::function<void()> answer) {
        if (holdAnswers) {
            held_.push_back(std::move(answer));
        } else {
            answer();
        }
    }

    std::vector<std::function<void()>> held_;
};

}  // namespace vigilmoth::testing
