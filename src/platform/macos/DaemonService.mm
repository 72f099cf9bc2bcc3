#include "platform/macos/DaemonService.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#import "platform/macos/SleepFlagHelperProtocol.h"

namespace vigilmoth {
namespace {

std::string text(NSError* error) {
    const char* description = error != nil ? error.localizedDescription.UTF8String : nullptr;
    return description != nullptr ? std::string(description) : std::string();
}

SMAppService* daemon() {
    return [SMAppService daemonServiceWithPlistName:VIGILMOTH_HELPER_PLIST];
}

}  // namespace

HelperStatus DaemonService::status() {
    switch (daemon().status) {
        case SMAppServiceStatusNotRegistered:
            return HelperStatus::notRegistered;
        case SMAppServiceStatusEnabled:
            return HelperStatus::enabled;
        case SMAppServiceStatusRequiresApproval:
            return HelperStatus::requiresApproval;
        case SMAppServiceStatusNotFound:
            break;
    }
    return HelperStatus::notFound;
}

std::optional<std::string> DaemonService::registerService() {
    NSError* error = nil;
    if ([daemon() registerAndReturnError:&error]) return std::nullopt;
    return text(error);
}

std::optional<std::string> DaemonService::unregisterService() {
    NSError* error = nil;
    if ([daemon() unregisterAndReturnError:&error]) return std::nullopt;
    return text(error);
}

}  // namespace vigilmoth
