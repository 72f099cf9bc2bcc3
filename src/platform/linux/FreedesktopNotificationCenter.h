#pragma once

#include <asio.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <set>

#include "base/Log.h"
#include "notices/NotificationCentering.h"
#include "platform/linux/AsioBus.h"

namespace vigilmoth {

// The desktop's notification server (org.freedesktop.Notifications) on the user's bus, on the
// application's loop. There is no permission to ask for: notifications are allowed while a server
// answers. A notice that takes an earlier one's place is posted with the earlier one's server id,
// so the server swaps it in place; a click on a notice ("default" action) comes back as its user
// info.
class FreedesktopNotificationCenter final : public NotificationCentering {
public:
    static constexpr const char* kService = "org.freedesktop.Notifications";
    static constexpr const char* kPath = "/org/freedesktop/Notifications";

    FreedesktopNotificationCenter(asio::io_context& context,
                                  const BusAddress& address = BusAddress::session());
    ~FreedesktopNotificationCenter() override;

    void requestAuthorization(Done done) override;
    void readSettings(std::function<void(NotificationAllowance)> done) override;
    void add(const NotificationRequest& request, Done done) override;
    void removeDelivered(const std::vector<std::string>& identifiers) override;
    // Desktops keep no standard place for an application's notification settings.
    void openSettings() override {}
    void onResponse(std::function<void(const nlohmann::json&, double)> handler) override {
        response_ = std::move(handler);
    }

private:
    // The server's capabilities, or null (logged once per absence) when none answers.
    std::optional<std::set<std::string>> capabilities();
    void forget(std::uint32_t serverID);
    static int actionInvoked(sd_bus_message* message, void* self, sd_bus_error*);
    static int closed(sd_bus_message* message, void* self, sd_bus_error*);

    asio::io_context& context_;
    std::unique_ptr<AsioBus> bus_;
    std::string busFailure_;
    SdBusSlot actionMatch_;
    SdBusSlot closedMatch_;
    // Our identifiers and the server's ids of the notices it still shows.
    std::map<std::string, std::uint32_t> serverIDs_;
    std::map<std::uint32_t, std::pair<std::string, nlohmann::json>> shown_;
    bool markup_ = false;
    bool absenceLogged_ = false;
    std::function<void(const nlohmann::json&, double)> response_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    Logger log_{"Notifications"};
};

}  // namespace vigilmoth
