#include "platform/macos/SystemLoginItem.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace vigilmoth {
namespace {

std::string text(NSError* error) {
    const char* description = error != nil ? error.localizedDescription.UTF8String : nullptr;
    return description != nullptr ? std::string(description) : std::string();
}

}  // namespace

LoginItemManaging::Status SystemLoginItem::status() {
    switch (SMAppService.mainAppService.status) {
        case SMAppServiceStatusNotRegistered:
            return Status::notRegistered;
        case SMAppServiceStatusEnabled:
            return Status::enabled;
        case SMAppServiceStatusRequiresApproval:
            return Status::requiresApproval;
        case SMAppServiceStatusNotFound:
            break;
    }
    return Status::notFound;
}

std::optional<std::string> SystemLoginItem::registerItem() {
    NSError* error = nil;
    if ([SMAppService.mainAppService registerAndReturnError:&error]) return std::nullopt;
    return text(error);
}

std::optional<std::string> SystemLoginItem::unregisterItem() {
    NSError* error = nil;
    if ([SMAppService.mainAppService unregisterAndReturnError:&error]) return std::nullopt;
    return text(error);
}

}  // namespace vigilmoth
