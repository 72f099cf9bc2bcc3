#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "notices/NotificationCentering.h"

namespace vigilmoth::testing {

// A notification centre that answers at once and keeps what reached it.
class FakeNotificationCenter final : public NotificationCentering {
public:
    NotificationAllowance allowance{NotificationAllowance::Status::authorized, true, true, true};
    std::optional<NotificationError> addError;

    std::vector<NotificationRequest> added;
    std::vector<std::string> removed;
    std::function<void(const nlohmann::json&, double)> click;

    void requestAuthorization(Done done) override { done(std::nullopt); }
    void readSettings(std::function<void(NotificationAllowance)> done) override { done(allowance); }
    void add(const NotificationRequest& request, Done done) override {
        added.push_back(request);
        done(addError);
    }
    void removeDelivered(const std::vector<std::string>& identifiers) override {
        removed.insert(removed.end(), identifiers.begin(), identifiers.end());
    }
    void openSettings() override {}
    void onResponse(std::function<void(const nlohmann::json&, double)> handler) override {
        click = std::move(handler);
    }
};

}  // namespace vigilmoth::testing
