// Stand-in for <ServiceManagement/ServiceManagement.h>, which GNUstep lacks, written from Apple's
// documentation. Each comment names the Apple documentation page's title.
#pragma once

#import <Foundation/Foundation.h>

// SMAppService.Status
typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    SMAppServiceStatusNotRegistered = 0,
    SMAppServiceStatusEnabled = 1,
    SMAppServiceStatusRequiresApproval = 2,
    SMAppServiceStatusNotFound = 3,
};

// SMAppService
@interface SMAppService : NSObject
// mainApp
@property(class, readonly) SMAppService* mainAppService;
// daemon(plistName:)
+ (instancetype)daemonServiceWithPlistName:(NSString*)plistName;
// status
@property(readonly) SMAppServiceStatus status;
// register()
- (BOOL)registerAndReturnError:(NSError**)error;
// unregister()
- (BOOL)unregisterAndReturnError:(NSError**)error;
@end
