#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace vigilmoth {

// What the preferences show of the system's notification permission.
enum class NotificationPermission { notAsked, allowed, denied };

// What the system allows this application's notifications.
struct NotificationAllowance {
    enum class Status { notDetermined, denied, authorized, provisional };

    Status status = Status::notDetermined;
    bool banners = false;
    bool sound = false;
    bool inNotificationCenter = false;

    NotificationPermission permission() const;
    bool allowsPosting() const;
    // "authorization authorized, banners on, sound off, notification center on".
    std::string logLine() const;

    bool operator==(const NotificationAllowance&) const = default;
};

// One notification as the system centre takes it; delivered at once.
struct NotificationRequest {
    std::string identifier;
    std::string title;
    std::optional<std::string> subtitle;
    std::optional<std::string> body;
    std::string thread;
    // The earlier notification this one takes the place of, which goes when this one comes.
    std::optional<std::string> replaces;
    // The default sound.
    bool sound = false;
    // Where a click leads; null when the notification names no agent.
    nlohmann::json userInfo;

    bool operator==(const NotificationRequest&) const = default;
};

struct NotificationError {
    std::string domain;
    long code = 0;
    std::string description;
};

// The system's notification centre, as the notifier uses it. Every completion and the response
// handler run on the main loop, whatever thread the system answers on.
class NotificationCentering {
public:
    using Done = std::function<void(std::optional<NotificationError>)>;

    virtual ~NotificationCentering() = default;
    // Asks for alerts and sound; the system asks the user only the first time.
    virtual void requestAuthorization(Done done) = 0;
    virtual void readSettings(std::function<void(NotificationAllowance)> done) = 0;
    virtual void add(const NotificationRequest& request, Done done) = 0;
    virtual void removeDelivered(const std::vector<std::string>& identifiers) = 0;
    // The system's settings of this application's notifications.
    virtual void openSettings() = 0;
    // The user clicked a notification: its user info, and the system's uptime at the click.
    virtual void onResponse(
        std::function<void(const nlohmann::json& userInfo, double uptime)> handler) = 0;
};

}  // namespace vigilmoth
