#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <memory>

#include "notices/NotificationCentering.h"

namespace vigilmoth {

// The current user-notification centre. It becomes the centre's delegate, so that a notice is
// shown while vigilmoth is in front and a click comes back; every answer is hopped to the main
// queue.
class SystemNotificationCenter final : public NotificationCentering {
public:
    SystemNotificationCenter();
    ~SystemNotificationCenter() override;

    void requestAuthorization(Done done) override;
    void readSettings(std::function<void(NotificationAllowance)> done) override;
    void add(const NotificationRequest& request, Done done) override;
    void removeDelivered(const std::vector<std::string>& identifiers) override;
    void openSettings() override;
    void onResponse(std::function<void(const nlohmann::json&, double)> handler) override;

private:
    struct Delegate;
    std::unique_ptr<Delegate> delegate_;
};

}  // namespace vigilmoth
