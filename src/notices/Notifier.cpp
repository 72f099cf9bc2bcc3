#include "notices/Notifier.h"

#include <utility>

namespace vigilmoth {

template <typename Function>
auto Notifier::whileAlive(Function function) {
    return [alive = std::weak_ptr<Notifier*>(self_), function](auto&&... arguments) {
        if (alive.lock()) function(std::forward<decltype(arguments)>(arguments)...);
    };
}

Notifier::Notifier(NotificationCentering& center)
    : center_(center), self_(std::make_shared<Notifier*>(this)) {
    center_.onResponse(whileAlive([this](const nlohmann::json& userInfo, double uptime) {
        if (onResponse) onResponse(uptime);
        // A click without a decodable target leads nowhere.
        auto target = AgentNoticeTarget::fromUserInfo(userInfo);
        if (target && onOpen) onOpen(*target);
    }));
}

Notifier::~Notifier() {
    center_.onResponse({});
}

NotificationRequest Notifier::request(const AgentNoticeContent& content) {
    NotificationRequest request{.identifier = content.id,
                                .title = content.title,
                                .subtitle = content.subtitle,
                                .body = content.body,
                                .thread = content.thread,
                                .sound = content.sound};
    if (auto target = content.target()) request.userInfo = target->userInfo();
    return request;
}

void Notifier::post(const AgentNoticeContent& content) {
    // A session's newer notice replaces its older one in the list.
    auto notice = request(content);
    auto earlier = lastIdentifiers_.find(content.key);
    if (earlier != lastIdentifiers_.end() && earlier->second != content.id) {
        notice.replaces = earlier->second;
    }
    lastIdentifiers_[content.key] = content.id;
    send(std::move(notice));
}

void Notifier::postMessage(const std::string& identifier, const std::string& text) {
    send(NotificationRequest{.identifier = identifier, .body = text, .sound = true});
}

void Notifier::send(NotificationRequest request) {
    center_.requestAuthorization(whileAlive([this,
                                             request](std::optional<NotificationError> error) {
        if (error) log_.error("authorization failed: " + error->description);
        center_.readSettings(whileAlive([this, request](NotificationAllowance allowance) {
            note(allowance);
            if (!allowance.allowsPosting()) {
                log_.info("post skipped " + request.identifier + ": notifications are not allowed");
                report(request.identifier, AgentNoticeDelivery::notAllowed);
                return;
            }
            bool banners = allowance.banners;
            center_.add(request, whileAlive([this, id = request.identifier,
                                             banners](std::optional<NotificationError> error) {
                            if (error) {
                                log_.error("post failed " + id + ": " + error->domain + " " +
                                           std::to_string(error->code));
                                report(id, AgentNoticeDelivery::failed);
                                return;
                            }
                            log_.info("posted " + id + (banners ? "" : ", banners are off"));
                            report(id, banners ? AgentNoticeDelivery::delivered
                                               : AgentNoticeDelivery::noBanner);
                        }));
        }));
    }));
}

void Notifier::note(const NotificationAllowance& allowance) {
    if (allowance != loggedAllowance_) {
        log_.info(allowance.logLine());
        loggedAllowance_ = allowance;
    }
    if (onPermission) onPermission(allowance.permission());
}

void Notifier::report(const std::string& id, AgentNoticeDelivery delivery) {
    if (onDelivery) onDelivery(id, delivery);
}

void Notifier::requestPermission() {
    center_.requestAuthorization(whileAlive([this](std::optional<NotificationError> error) {
        if (error) log_.error("authorization failed: " + error->description);
        readPermission();
    }));
}

void Notifier::readPermission() {
    center_.readSettings(whileAlive([this](NotificationAllowance allowance) { note(allowance); }));
}

void Notifier::openSystemSettings() {
    center_.openSettings();
}

}  // namespace vigilmoth
