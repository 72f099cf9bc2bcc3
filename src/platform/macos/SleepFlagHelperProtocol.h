// The XPC protocol between vigilmoth and its privileged helper, shared by both sides: the
// client here and the helper's entry point in src/helper.
#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// The launch daemon's label and Mach service name, and its property list in the bundle.
#define VIGILMOTH_HELPER_SERVICE @"com.vigilmoth.app.helper"
#define VIGILMOTH_HELPER_PLIST @"com.vigilmoth.app.helper.plist"

@protocol SleepFlagHelperProtocol
// Sets or clears the system's "SleepDisabled" setting; `error` is nil on success.
- (void)setSleepDisabled:(BOOL)disabled reply:(void (^)(NSString* _Nullable error))reply;
// Keeps a set flag alive; the helper clears it when the heartbeats stop.
- (void)heartbeatWithReply:(void (^)(void))reply;
- (void)statusWithReply:(void (^)(BOOL sleepDisabled, NSString* setBy, NSString* version))reply;
// Asks an outdated helper to clear the flag and leave, so that a new one can be registered.
- (void)retireWithReply:(void (^)(void))reply;
@end

NS_ASSUME_NONNULL_END
