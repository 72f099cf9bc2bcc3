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

// UNNotificationContent
@interface UNNotificationContent : NSObject
@end

// UNMutableNotificationContent
@interface UNMutableNotificationContent : UNNotificationContent
// title
@property(copy) NSString* title;
// body
@property(copy) NSString* body;
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
@end
