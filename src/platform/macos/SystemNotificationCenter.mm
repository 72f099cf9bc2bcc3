#include "platform/macos/SystemNotificationCenter.h"

#import <AppKit/AppKit.h>
#import <UserNotifications/UserNotifications.h>
#include <dispatch/dispatch.h>

namespace vigilmoth {
namespace {

NSString* text(const std::string& value) {
    return [NSString stringWithUTF8String:value.c_str()];
}

std::string text(NSString* value) {
    return value ? std::string(value.UTF8String) : std::string();
}

std::optional<NotificationError> errorOf(NSError* error) {
    if (!error) return std::nullopt;
    return NotificationError{text(error.domain), static_cast<long>(error.code),
                             text(error.localizedDescription)};
}

// The user info holds only numbers: the agent's pid and start, the owner's pid.
NSDictionary* dictionary(const nlohmann::json& info) {
    NSMutableDictionary* made = [NSMutableDictionary dictionary];
    if (!info.is_object()) return made;
    for (const auto& [key, value] : info.items()) {
        if (value.is_number_integer()) {
            [made setObject:[NSNumber numberWithLongLong:value.get<long long>()] forKey:text(key)];
        } else if (value.is_number()) {
            [made setObject:[NSNumber numberWithDouble:value.get<double>()] forKey:text(key)];
        }
    }
    return made;
}

nlohmann::json json(NSDictionary* info) {
    nlohmann::json made = nlohmann::json::object();
    for (id key in info) {
        id value = [info objectForKey:key];
        if (![key isKindOfClass:[NSString class]] || ![value isKindOfClass:[NSNumber class]]) {
            continue;
        }
        NSNumber* number = value;
        char type = number.objCType[0];
        if (type == 'd' || type == 'f') {
            made[text((NSString*)key)] = number.doubleValue;
        } else {
            made[text((NSString*)key)] = number.longLongValue;
        }
    }
    return made;
}

void onMain(void (^block)(void)) {
    dispatch_async(dispatch_get_main_queue(), block);
}

}  // namespace
}  // namespace vigilmoth

@interface VigilmothNotificationDelegate : NSObject <UNUserNotificationCenterDelegate> {
@public
    std::function<void(const nlohmann::json&, double)> response;
}
@end

@implementation VigilmothNotificationDelegate

// A notice is shown even while vigilmoth is the frontmost application.
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    completionHandler(UNNotificationPresentationOptionBanner |
                      UNNotificationPresentationOptionList | UNNotificationPresentationOptionSound);
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)notificationResponse
             withCompletionHandler:(void (^)(void))completionHandler {
    double uptime = static_cast<double>(NSProcessInfo.processInfo.systemUptime);
    nlohmann::json info =
        vigilmoth::json(notificationResponse.notification.request.content.userInfo);
    VigilmothNotificationDelegate* delegate = [self retain];
    vigilmoth::onMain(^{
      if (delegate->response) delegate->response(info, uptime);
      [delegate release];
    });
    completionHandler();
}

@end

namespace vigilmoth {

struct SystemNotificationCenter::Delegate {
    VigilmothNotificationDelegate* object = [[VigilmothNotificationDelegate alloc] init];
};

SystemNotificationCenter::SystemNotificationCenter() : delegate_(std::make_unique<Delegate>()) {
    UNUserNotificationCenter.currentNotificationCenter.delegate = delegate_->object;
}

SystemNotificationCenter::~SystemNotificationCenter() {
    UNUserNotificationCenter* center = UNUserNotificationCenter.currentNotificationCenter;
    if (center.delegate == delegate_->object) center.delegate = nil;
    delegate_->object->response = nullptr;
    [delegate_->object release];
}

void SystemNotificationCenter::requestAuthorization(Done done) {
    [UNUserNotificationCenter.currentNotificationCenter
        requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                      completionHandler:^(BOOL, NSError* error) {
                        auto failure = errorOf(error);
                        onMain(^{
                          done(failure);
                        });
                      }];
}

void SystemNotificationCenter::readSettings(std::function<void(NotificationAllowance)> done) {
    [UNUserNotificationCenter.currentNotificationCenter
        getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
          NotificationAllowance allowance;
          switch (settings.authorizationStatus) {
              case UNAuthorizationStatusDenied:
                  allowance.status = NotificationAllowance::Status::denied;
                  break;
              case UNAuthorizationStatusAuthorized:
                  allowance.status = NotificationAllowance::Status::authorized;
                  break;
              case UNAuthorizationStatusProvisional:
                  allowance.status = NotificationAllowance::Status::provisional;
                  break;
              default:
                  allowance.status = NotificationAllowance::Status::notDetermined;
                  break;
          }
          allowance.banners = settings.alertStyle == UNAlertStyleBanner;
          allowance.sound = settings.soundSetting == UNNotificationSettingEnabled;
          allowance.inNotificationCenter =
              settings.notificationCenterSetting == UNNotificationSettingEnabled;
          onMain(^{
            done(allowance);
          });
        }];
}

void SystemNotificationCenter::add(const NotificationRequest& request, Done done) {
    if (request.replaces) removeDelivered({*request.replaces});
    UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
    content.title = text(request.title);
    if (request.subtitle) content.subtitle = text(*request.subtitle);
    if (request.body) content.body = text(*request.body);
    content.threadIdentifier = text(request.thread);
    if (request.sound) content.sound = UNNotificationSound.defaultSound;
    if (!request.userInfo.is_null()) content.userInfo = dictionary(request.userInfo);
    // No trigger: delivered now.
    UNNotificationRequest* made =
        [UNNotificationRequest requestWithIdentifier:text(request.identifier)
                                             content:content
                                             trigger:nil];
    [content release];
    [UNUserNotificationCenter.currentNotificationCenter addNotificationRequest:made
                                                         withCompletionHandler:^(NSError* error) {
                                                           auto failure = errorOf(error);
                                                           onMain(^{
                                                             done(failure);
                                                           });
                                                         }];
}

void SystemNotificationCenter::removeDelivered(const std::vector<std::string>& identifiers) {
    NSMutableArray* list = [NSMutableArray array];
    for (const auto& identifier : identifiers)
        [list addObject:text(identifier)];
    [UNUserNotificationCenter.currentNotificationCenter
        removeDeliveredNotificationsWithIdentifiers:list];
}

void SystemNotificationCenter::openSettings() {
    NSString* bundle = NSBundle.mainBundle.bundleIdentifier;
    if (!bundle) bundle = @"com.vigilmoth.app";
    NSString* address = [@"x-apple.systempreferences:com.apple.Notifications-Settings.extension?id="
        stringByAppendingString:bundle];
    [NSWorkspace.sharedWorkspace openURL:[NSURL URLWithString:address]];
}

void SystemNotificationCenter::onResponse(
    std::function<void(const nlohmann::json&, double)> handler) {
    delegate_->object->response = std::move(handler);
}

}  // namespace vigilmoth
