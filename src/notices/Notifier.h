#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/Log.h"
#include "notices/AgentNoticeContent.h"
#include "notices/AgentNoticeHistory.h"
#include "notices/AgentNoticeTarget.h"
#include "notices/NotificationCentering.h"

namespace vigilmoth {

// Posts vigilmoth's notifications: asks for permission, replaces a session's earlier notice,
// reports how each posting went, and turns a click back into where it leads. Lives on the main
// loop; its callbacks run there.
class Notifier {
public:
    explicit Notifier(NotificationCentering& center);
    ~Notifier();
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    std::function<void(NotificationPermission)> onPermission;
    std::function<void(const std::string& id, AgentNoticeDelivery)> onDelivery;
    std::function<void(const AgentNoticeTarget&)> onOpen;
    // The system's uptime at a click.
    std::function<void(double)> onResponse;

    void post(const AgentNoticeContent& content);
    // A plain message, such as the safety monitor's stop; a newer message under the same
    // identifier replaces the older one.
    void postMessage(const std::string& identifier, const std::string& text);
    void requestPermission();
    void readPermission();
    void openSystemSettings();

    static NotificationRequest request(const AgentNoticeContent& content);

private:
    void send(NotificationRequest request);
    void note(const NotificationAllowance& allowance);
    void report(const std::string& id, AgentNoticeDelivery delivery);
    // A completion that does nothing once the notifier is gone.
    template <typename Function>
    auto whileAlive(Function function);

    NotificationCentering& center_;
    Logger log_{"Notices"};
    // The id last posted under each notice key.
    std::unordered_map<std::string, std::string> lastIdentifiers_;
    std::optional<NotificationAllowance> loggedAllowance_;
    std::shared_ptr<Notifier*> self_;
};

}  // namespace vigilmoth
