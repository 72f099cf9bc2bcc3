#include "platform/linux/FreedesktopNotificationCenter.h"

#include <cstring>

#include "platform/linux/SystemAwakeClock.h"

namespace vigilmoth {
namespace {

constexpr const char* kInterface = "org.freedesktop.Notifications";
constexpr const char* kDefaultAction = "default";

// A server that reads markup in bodies would take an agent's "<" or "&" for a tag.
std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '&')
            out += "&amp;";
        else
            out += c;
    }
    return out;
}

}  // namespace

FreedesktopNotificationCenter::FreedesktopNotificationCenter(asio::io_context& context,
                                                             const BusAddress& address)
    : context_(context) {
    int code = 0;
    bus_ = AsioBus::open(context, address, code);
    if (!bus_) {
        busFailure_ = std::string("the user's bus cannot be reached: ") + std::strerror(-code);
        return;
    }
    sd_bus_slot* slot = nullptr;
    if (sd_bus_match_signal(bus_->get(), &slot, kService, kPath, kInterface, "ActionInvoked",
                            &actionInvoked, this) >= 0) {
        actionMatch_.reset(slot);
    }
    slot = nullptr;
    if (sd_bus_match_signal(bus_->get(), &slot, kService, kPath, kInterface, "NotificationClosed",
                            &closed, this) >= 0) {
        closedMatch_.reset(slot);
    }
}

FreedesktopNotificationCenter::~FreedesktopNotificationCenter() {
    *alive_ = false;
}

void FreedesktopNotificationCenter::requestAuthorization(Done done) {
    asio::post(context_, [done = std::move(done)] { done(std::nullopt); });
}

std::optional<std::set<std::string>> FreedesktopNotificationCenter::capabilities() {
    std::string failure = busFailure_;
    if (bus_) {
        SdBusMessage call;
        sd_bus_message* message = nullptr;
        sd_bus_message_new_method_call(bus_->get(), &message, kService, kPath, kInterface,
                                       "GetCapabilities");
        call.reset(message);
        SdBusError error;
        int code = 0;
        if (SdBusMessage reply = bus_->call(call.get(), error, code)) {
            std::set<std::string> found;
            char** names = nullptr;
            if (sd_bus_message_read_strv(reply.get(), &names) >= 0 && names) {
                for (char** name = names; *name; ++name) {
                    found.insert(*name);
                    free(*name);
                }
                free(names);
            }
            absenceLogged_ = false;
            markup_ = found.count("body-markup") > 0;
            return found;
        }
        failure = error.describe(code);
    }
    if (!absenceLogged_) {
        log_.error("no notification server, notifications are not allowed: " + failure);
        absenceLogged_ = true;
    }
    return std::nullopt;
}

void FreedesktopNotificationCenter::readSettings(std::function<void(NotificationAllowance)> done) {
    NotificationAllowance allowance{.status = NotificationAllowance::Status::denied};
    if (auto found = capabilities()) {
        allowance = {.status = NotificationAllowance::Status::authorized,
                     .banners = true,
                     .sound = found->count("sound") > 0,
                     .inNotificationCenter = found->count("persistence") > 0};
    }
    asio::post(context_, [done = std::move(done), allowance] { done(allowance); });
}

void FreedesktopNotificationCenter::add(const NotificationRequest& request, Done done) {
    auto finish = [this, done = std::move(done)](std::optional<NotificationError> error) {
        asio::post(context_, [done, error] { done(error); });
    };
    if (!bus_) return finish(NotificationError{"bus", 0, busFailure_});
    std::uint32_t replaces = 0;
    if (request.replaces) {
        auto earlier = serverIDs_.find(*request.replaces);
        if (earlier != serverIDs_.end()) replaces = earlier->second;
    }
    std::string body;
    if (request.subtitle) body = *request.subtitle;
    if (request.body) body += (body.empty() ? "" : "\n") + *request.body;
    if (markup_) body = escaped(body);

    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus_->get(), &message, kService, kPath, kInterface, "Notify");
    SdBusMessage call(message);
    sd_bus_message_append(message, "susss", "vigilmoth", replaces, "", request.title.c_str(),
                          body.c_str());
    // The default action is what a click on the notice invokes; its label is rarely shown.
    if (request.userInfo.is_null()) {
        sd_bus_message_append(message, "as", 0);
    } else {
        sd_bus_message_append(message, "as", 2, kDefaultAction, "Show");
    }
    if (request.sound) {
        sd_bus_message_append(message, "a{sv}", 1, "sound-name", "s", "message-new-instant");
    } else {
        sd_bus_message_append(message, "a{sv}", 0);
    }
    sd_bus_message_append(message, "i", -1);

    SdBusError error;
    int code = 0;
    SdBusMessage reply = bus_->call(message, error, code);
    std::uint32_t id = 0;
    if (!reply || sd_bus_message_read(reply.get(), "u", &id) < 0) {
        return finish(NotificationError{kInterface, code, error.describe(code)});
    }
    if (replaces) forget(replaces);
    serverIDs_[request.identifier] = id;
    shown_[id] = {request.identifier, request.userInfo};
    finish(std::nullopt);
}

void FreedesktopNotificationCenter::removeDelivered(const std::vector<std::string>& identifiers) {
    for (const auto& identifier : identifiers) {
        auto found = serverIDs_.find(identifier);
        if (found == serverIDs_.end()) continue;
        const std::uint32_t id = found->second;
        forget(id);
        sd_bus_call_method_async(bus_->get(), nullptr, kService, kPath, kInterface,
                                 "CloseNotification", nullptr, nullptr, "u", id);
    }
    if (bus_) bus_->processSoon();
}

void FreedesktopNotificationCenter::forget(std::uint32_t serverID) {
    auto shown = shown_.find(serverID);
    if (shown == shown_.end()) return;
    serverIDs_.erase(shown->second.first);
    shown_.erase(shown);
}

int FreedesktopNotificationCenter::actionInvoked(sd_bus_message* message, void* self,
                                                 sd_bus_error*) {
    auto& center = *static_cast<FreedesktopNotificationCenter*>(self);
    std::uint32_t id = 0;
    const char* action = nullptr;
    if (sd_bus_message_read(message, "us", &id, &action) < 0) return 0;
    auto shown = center.shown_.find(id);
    if (shown == center.shown_.end() || std::strcmp(action, kDefaultAction) != 0) return 0;
    if (center.response_) center.response_(shown->second.second, SystemAwakeClock::awake());
    return 0;
}

int FreedesktopNotificationCenter::closed(sd_bus_message* message, void* self, sd_bus_error*) {
    std::uint32_t id = 0;
    if (sd_bus_message_read(message, "u", &id) >= 0) {
        static_cast<FreedesktopNotificationCenter*>(self)->forget(id);
    }
    return 0;
}

}  // namespace vigilmoth
