#include "notices/NotificationCentering.h"

namespace vigilmoth {
namespace {

const char* statusWord(NotificationAllowance::Status status) {
    switch (status) {
        case NotificationAllowance::Status::notDetermined:
            return "notDetermined";
        case NotificationAllowance::Status::denied:
            return "denied";
        case NotificationAllowance::Status::authorized:
            return "authorized";
        case NotificationAllowance::Status::provisional:
            return "provisional";
    }
    return "";
}

const char* flag(bool on) {
    return on ? "on" : "off";
}

}  // namespace

NotificationPermission NotificationAllowance::permission() const {
    switch (status) {
        case Status::notDetermined:
            return NotificationPermission::notAsked;
        case Status::denied:
            return NotificationPermission::denied;
        case Status::authorized:
        case Status::provisional:
            return NotificationPermission::allowed;
    }
    return NotificationPermission::notAsked;
}

bool NotificationAllowance::allowsPosting() const {
    return status == Status::authorized || status == Status::provisional;
}

std::string NotificationAllowance::logLine() const {
    return std::string("authorization ") + statusWord(status) + ", banners " + flag(banners) +
           ", sound " + flag(sound) + ", notification center " + flag(inNotificationCenter);
}

}  // namespace vigilmoth
