// Stand-in for <UserNotifications/UserNotifications.h>, which GNUstep lacks, written from Apple's
// documentation. Each comment names the Apple documentation page's title.
#pragma once

#import <Foundation/Foundation.h>

// UNAuthorizationOptions
typedef NS_OPTIONS(NSUInteger, UNAuthorizationOptions) {
    UNAuthorizationOptionBadge = 1 << 0,
    UNAuthorizationOptionSound = 1 << 1,
    UNAuthorizationOptionAlert = 1 << 2,
};

// UNAuthorizationStatus
typedef NS_ENUM(NSInteger, UNAuthorizationStatus) {
    UNAuthorizationStatusNotDetermined = 0,
    UNAuthorizationStatusDenied,
    UNAuthorizationStatusAuthorized,
    UNAuthorizationStatusProvisional,
};

// UNNotificationSetting
typedef NS_ENUM(NSInteger, UNNotificationSetting) {
    UNNotificationSettingNotSupported = 0,
    UNNotificationSettingDisabled,
    UNNotificationSettingEnabled,
};

// UNAlertStyle
typedef NS_ENUM(NSInteger, UNAlertStyle) {
    UNAlertStyleNone = 0,
    UNAlertStyleBanner,
    UNAlertStyleAlert,
};

// UNNotificationPresentationOptions
typedef NS_OPTIONS(NSUInteger, UNNotificationPresentationOptions) {
    UNNotificationPresentationOptionBadge = 1 << 0,
    UNNotificationPresentationOptionSound = 1 << 1,
    UNNotificationPresentationOptionList = 1 << 3,
    UNNotificationPresentationOptionBanner = 1 << 4,
};

// UNNotificationSettings
@interface UNNotificationSettings : NSObject
// authorizationStatus
@property(readonly) UNAuthorizationStatus authorizationStatus;
// soundSetting
@property(readonly) UNNotificationSetting soundSetting;
// notificationCenterSetting
@property(readonly) UNNotificationSetting notificationCenterSetting;
// alertStyle
@property(readonly) UNAlertStyle alertStyle;
@end

// UNNotificationSound
@interface UNNotificationSound : NSObject
// default
+ (UNNotificationSound*)defaultSound;
@end

// UNNotificationContent
@interface UNNotificationContent : NSObject
// userInfo
@property(readonly, copy) NSDictionary* userInfo;
@end

// UNMutableNotificationContent
@interface UNMutableNotificationContent : UNNotificationContent
// title
@property(copy) NSString* title;
// subtitle
@property(copy) NSString* subtitle;
// body
@property(copy) NSString* body;
// threadIdentifier
@property(copy) NSString* threadIdentifier;
// sound
@property(copy) UNNotificationSound* sound;
// userInfo
@property(copy) NSDictionary* userInfo;
@end

// UNNotificationTrigger
@interface UNNotificationTrigger : NSObject
@end

// UNNotificationRequest
@interface UNNotificationRequest : NSObject
// init(identifier:content:trigger:)
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(UNNotificationTrigger*)trigger;
// content
@property(readonly, copy) UNNotificationContent* content;
@end

// UNNotification
@interface UNNotification : NSObject
// request
@property(readonly, copy) UNNotificationRequest* request;
@end

// UNNotificationResponse
@interface UNNotificationResponse : NSObject
// notification
@property(readonly, copy) UNNotification* notification;
@end

@class UNUserNotificationCenter;

// UNUserNotificationCenterDelegate
@protocol UNUserNotificationCenterDelegate <NSObject>
@optional
// userNotificationCenter(_:willPresent:withCompletionHandler:)
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:
             (void (^)(UNNotificationPresentationOptions options))completionHandler;
// userNotificationCenter(_:didReceive:withCompletionHandler:)
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler;
@end

// UNUserNotificationCenter
@interface UNUserNotificationCenter : NSObject
// current()
+ (UNUserNotificationCenter*)currentNotificationCenter;
// requestAuthorization(options:completionHandler:)
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler;
// add(_:withCompletionHandler:)
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(void (^)(NSError* error))completionHandler;
// getNotificationSettings(completionHandler:)
- (void)getNotificationSettingsWithCompletionHandler:
    (void (^)(UNNotificationSettings* settings))completionHandler;
// removeDeliveredNotifications(withIdentifiers:)
- (void)removeDeliveredNotificationsWithIdentifiers:(NSArray*)identifiers;
// delegate
@property(weak) id<UNUserNotificationCenterDelegate> delegate;
@end
